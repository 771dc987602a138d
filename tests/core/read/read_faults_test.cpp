// I/O faults at every read: a file served through the host file system
// whose k-th read call fails (the device raises) or comes back short, for
// every k of a realistic session (summary, whole read, one row group at a
// time, statistics). Every run ends in success or an identified error of the
// library or the host.
#include <ovparquet/core/common/MessageException.hpp>
#include <ovparquet/core/common/ReadableWritableFile.hpp>
#include <ovparquet/core/info/ParquetInfo.hpp>
#include <ovparquet/core/read/RowGroupParquetReader.hpp>
#include <ovparquet/host/error.hpp>
#include <ovparquet/host/stream.hpp>
#include <ovparquet/host/ustring.hpp>

#include "../../support/FaultPlan.hpp"
#include "../../support/ParquetFiles.hpp"

#include <gtest/gtest.h>

#include <numeric>
#include <stdexcept>
#include <typeinfo>
#include <variant>

namespace orvane::io::parquet::core {
namespace {

using ovtest::Fault;
using ovtest::FaultPlan;

// Which read call to spoil.
FaultPlan gPlan;
std::string gBytes;

class FaultyHandle : public orvane::vfs::FileHandle {
 public:
  FaultyHandle() {
    char* begin = gBytes.data();
    setg(begin, begin, begin);  // an empty get area: every read reaches xsgetn
  }
  bool isOpen() const override { return mOpen; }
  void close() override { mOpen = false; }

 protected:
  int_type underflow() override {
    return mPosition < gBytes.size() ? traits_type::to_int_type(gBytes[mPosition]) : traits_type::eof();
  }
  int_type uflow() override {
    const int_type c = underflow();
    if (!traits_type::eq_int_type(c, traits_type::eof())) ++mPosition;
    return c;
  }
  std::streamsize xsgetn(char* out, std::streamsize count) override {
    if (++gPlan.calls == gPlan.at) {
      gPlan.injected = true;
      if (gPlan.kind == Fault::Fail) throw std::runtime_error("injected read fault");
      count /= 2;
    }
    const auto available = static_cast<std::streamsize>(gBytes.size() - std::min(mPosition, gBytes.size()));
    const std::streamsize n = std::min(count, available);
    std::copy_n(gBytes.data() + mPosition, n, out);
    mPosition += static_cast<std::size_t>(n);
    return n;
  }
  pos_type seekoff(off_type off, std::ios_base::seekdir dir, std::ios_base::openmode) override {
    const off_type base = dir == std::ios_base::beg ? 0
                          : dir == std::ios_base::cur ? static_cast<off_type>(mPosition)
                                                      : static_cast<off_type>(gBytes.size());
    if (base + off < 0) return pos_type(off_type(-1));
    mPosition = static_cast<std::size_t>(base + off);
    return base + off;
  }
  pos_type seekpos(pos_type pos, std::ios_base::openmode which) override {
    return seekoff(off_type(pos), std::ios_base::beg, which);
  }

 private:
  std::size_t mPosition = 0;
  bool mOpen = true;
};

// "" for success or an identified error; else the kind and text raised.
template <typename Body>
std::string unidentified(Body&& body) {
  try {
    body();
  } catch (const common::MessageError&) {
  } catch (const orvane::HostError&) {
  } catch (const common::ReadFailure&) {
    // The adapter's own error for a failed device read, which the readers
    // pass on unchanged for their caller to report.
  } catch (const std::exception& e) {
    return std::string(typeid(e).name()) + ": " + e.what();
  }
  return "";
}

// What reads only the footer: the summary, opening a reader, statistics.
void footerSession(const ustring& name) {
  (void)info::ParquetInfo(name);
  const read::RowGroupParquetReader reader(name, std::vector<double>{});
  (void)reader.getStatistics({0, 1, 2});
}

// Everything: the footer session, then the data whole and by row group.
void fullSession(const ustring& name) {
  footerSession(name);
  read::RowGroupParquetReader whole(name, std::vector<double>{});
  (void)whole.readFullFile();
  std::vector<double> all(static_cast<std::size_t>(whole.getTotalNumRowGroups()));
  std::iota(all.begin(), all.end(), 1.0);
  read::RowGroupParquetReader byGroup(name, all);
  while (byGroup.hasdata()) (void)byGroup.read();
}

class ReadFaults : public testing::Test {
 protected:
  void SetUp() override {
    const auto path = mDir.file("faults.parquet");
    ovtest::writeParquet(path, *ovtest::makeSimpleTable(1000), 100);
    gBytes = ovtest::readBytes(path);
    orvane::vfs::registerScheme("faulty", [](const orvane::vfs::Iri&, orvane::vfs::CleanupFile&,
                                             orvane::vfs::OpenMode, bool) {
      orvane::vfs::OpenedFile opened;
      opened.handle = std::make_unique<FaultyHandle>();
      opened.size = static_cast<std::int64_t>(gBytes.size());
      return opened;
    });
  }

  // Spoils each read call of `session` in turn with `kind`; returns the
  // number of calls and counts the outcomes.
  template <typename Session>
  long faultEveryCall(Fault kind, Session&& session, int& harmless, int& identified) {
    gPlan = FaultPlan{};
    EXPECT_EQ(unidentified([&] { session(kName); }), "");
    const long calls = gPlan.calls;
    for (long k = 1; k <= calls; ++k) {
      gPlan = FaultPlan{kind, k, 0, false};
      bool completed = false;
      const auto failure = unidentified([&] {
        session(kName);
        completed = true;
      });
      EXPECT_EQ(failure, "") << (kind == Fault::Fail ? "failing" : "short") << " read call " << k;
      EXPECT_TRUE(gPlan.injected) << k;
      (completed ? harmless : identified) += 1;
    }
    return calls;
  }

  static constexpr const char16_t* kName = u"faulty://disk/faults.parquet";
  ovtest::TempDir mDir;
};

TEST_F(ReadFaults, AShortReadInsideTheFileIsAnErrorAndOneAtTheEndIsNot) {
  const auto file = common::makeReadableFilePtr(kName);
  const auto size = static_cast<std::int64_t>(gBytes.size());

  gPlan = FaultPlan{Fault::Short, 1, 0, false};
  const auto inside = file->ReadAt(100, 64);
  ASSERT_TRUE(gPlan.injected);
  ASSERT_FALSE(inside.ok()) << "a buffer of " << (*inside)->size() << " bytes for 64 asked";
  EXPECT_TRUE(inside.status().IsIOError()) << inside.status().ToString();
  EXPECT_NE(inside.status().message().find("stopped at byte 132 of " + std::to_string(size)), std::string::npos)
      << inside.status().ToString();

  // The same on the form that reads into the caller's memory.
  gPlan = FaultPlan{Fault::Short, 1, 0, false};
  std::vector<char> out(64);
  EXPECT_FALSE(file->ReadAt(100, 64, out.data()).ok());

  // The stream stays usable: a complete read, then a short one at the end.
  gPlan = FaultPlan{};
  const auto whole = file->ReadAt(100, 64);
  ASSERT_TRUE(whole.ok()) << whole.status().ToString();
  EXPECT_EQ((*whole)->ToString(), gBytes.substr(100, 64));
  const auto tail = file->ReadAt(size - 10, 64);
  ASSERT_TRUE(tail.ok()) << tail.status().ToString();
  EXPECT_EQ((*tail)->size(), 10);
}

// A short read inside a column chunk that Parquet pre-buffers: the read
// fails naming the file instead of decoding past the bytes that came back.
TEST_F(ReadFaults, AShortDataReadFailsTheReadNamingTheFile) {
  gPlan = FaultPlan{};
  read::RowGroupParquetReader probe(kName, std::vector<double>{});
  const long footerCalls = gPlan.calls;
  (void)probe.readFullFile();
  ASSERT_GT(gPlan.calls, footerCalls) << "the data was read in calls of its own";

  // The first read call after the footer's is the first data range.
  gPlan = FaultPlan{Fault::Short, footerCalls + 1, 0, false};
  read::RowGroupParquetReader reader(kName, std::vector<double>{});
  try {
    (void)reader.readFullFile();
    ADD_FAILURE() << "a read that lost bytes succeeded";
  } catch (const common::MessageError& e) {
    EXPECT_EQ(std::string(e.identifier()), "ORVANE:parquetio:read:InternalInvalidRead");
    const auto& arguments = e.message().arguments;
    ASSERT_EQ(arguments.size(), 2u);
    EXPECT_EQ(std::get<ustring>(arguments[0]), kName);
    const std::string text = orvane::ustring_to_utf8(std::get<ustring>(arguments[1]));
    EXPECT_NE(text.find("Unable to read from the stream"), std::string::npos) << text;
  }
  EXPECT_TRUE(gPlan.injected);
}

TEST_F(ReadFaults, EveryShortReadEndsInSuccessOrAnIdentifiedError) {
  int harmless = 0, identified = 0;
  const long calls = faultEveryCall(Fault::Short, fullSession, harmless, identified);
  ASSERT_GT(calls, 10);
  // Every read of this session lies inside the file, so none can lose bytes
  // unnoticed.
  EXPECT_EQ(harmless, 0);
  std::printf("short reads: %ld faults injected, %d identified errors, %d harmless\n", calls, identified, harmless);
}

TEST_F(ReadFaults, EveryFailingFooterReadEndsInAnIdentifiedError) {
  int harmless = 0, identified = 0;
  const long calls = faultEveryCall(Fault::Fail, footerSession, harmless, identified);
  ASSERT_GE(calls, 2);
  EXPECT_EQ(harmless, 0);
  std::printf("failing footer reads: %ld faults injected, %d identified errors\n", calls, identified);
}

// Column chunks are pre-buffered through ReadAsync: a failing device read
// there must reach the caller too, not end the process on an I/O thread.
TEST_F(ReadFaults, EveryFailingDataReadEndsInAnIdentifiedError) {
  int harmless = 0, identified = 0;
  const long calls = faultEveryCall(Fault::Fail, fullSession, harmless, identified);
  ASSERT_GT(calls, 10);
  EXPECT_EQ(harmless, 0);
  std::printf("failing reads: %ld faults injected, %d identified errors\n", calls, identified);
}

}  // namespace
}  // namespace orvane::io::parquet::core
