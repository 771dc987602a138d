// I/O faults at every write: a local file served through a scheme whose k-th
// write call fails (the device raises) or comes back short, for every k of a
// write of two row groups and the close. Every run ends in success or an
// identified error; after a failure nothing is left under the file's name,
// and an older file of that name is byte for byte what it was.
#include <ovparquet/core/common/MessageException.hpp>
#include <ovparquet/core/read/RowGroupParquetReader.hpp>
#include <ovparquet/core/write/ParquetWriter.hpp>
#include <ovparquet/host/error.hpp>
#include <ovparquet/host/stream.hpp>

#include "../../support/HostTables.hpp"
#include "../../support/FaultPlan.hpp"
#include "../../support/ParquetFiles.hpp"

#include <gtest/gtest.h>

#include <stdexcept>
#include <typeinfo>

namespace orvane::io::parquet::core {
namespace {

using ovtest::Fault;
using ovtest::FaultPlan;

// Which write call to spoil.
FaultPlan gPlan;

// Forwards to the local file's own handle (so the host's commit on close
// and its cleanup are the real ones) and spoils one call. Like a device
// handle, it remembers a spoiled write and fails its close, which then
// abandons the file instead of committing it: the output stream stops
// passing writes on after the first failure, so the close is where the
// failure has to surface.
class FaultyWriteHandle : public orvane::vfs::FileHandle {
 public:
  explicit FaultyWriteHandle(std::unique_ptr<orvane::vfs::FileHandle> inner) : mInner(std::move(inner)) {}
  bool isOpen() const override { return mInner && mInner->isOpen(); }
  void close() override {
    if (!isOpen()) return;
    // A close cannot come back short: both kinds make it fail.
    if (spoil() || mFailed) {
      mInner.reset();  // unclosed: the host removes the temporary
      throw orvane::HostError(orvane::Message::make(orvane::kHostComponent, "CannotWrite", std::string("faulty"),
                                                    std::string("injected fault")));
    }
    mInner->close();
  }

 protected:
  std::streamsize xsputn(const char* data, std::streamsize count) override {
    if (spoil()) {
      mFailed = true;
      if (gPlan.kind == Fault::Fail) throw std::runtime_error("injected write fault");
      return mInner->sputn(data, count / 2);
    }
    return mInner->sputn(data, count);
  }
  int_type overflow(int_type c) override {
    if (traits_type::eq_int_type(c, traits_type::eof())) return traits_type::not_eof(c);
    const char one = traits_type::to_char_type(c);
    return xsputn(&one, 1) == 1 ? c : traits_type::eof();
  }
  int sync() override { return mInner->pubsync(); }
  pos_type seekoff(off_type off, std::ios_base::seekdir dir, std::ios_base::openmode which) override {
    return mInner->pubseekoff(off, dir, which);
  }
  pos_type seekpos(pos_type pos, std::ios_base::openmode which) override { return mInner->pubseekpos(pos, which); }

 private:
  static bool spoil() {
    if (++gPlan.calls != gPlan.at) return false;
    gPlan.injected = true;
    return true;
  }

  std::unique_ptr<orvane::vfs::FileHandle> mInner;
  bool mFailed = false;
};

// "" for success or an identified error; else the kind and text raised.
template <typename Body>
std::string unidentified(Body&& body) {
  try {
    body();
  } catch (const common::MessageError&) {
  } catch (const orvane::HostError&) {
  } catch (const std::exception& e) {
    return std::string(typeid(e).name()) + ": " + e.what();
  }
  return "";
}

unique_ovarray_ptr rows(std::size_t first, std::size_t count) {
  auto x = ovCreateNumericMatrix(count, 1, ovClassID::Double);
  ovStringArrayBuilder s({count, 1});
  for (std::size_t i = 0; i < count; ++i) {
    ovGetTypedDataMutable<double>(x.get())[i] = static_cast<double>(first + i) * 0.25;
    s.appendUtf8("row " + std::to_string(first + i));
  }
  ovtest::NamedColumns columns;
  columns.emplace_back(u"x", std::move(x));
  columns.emplace_back(u"s", s.finish());
  return ovtest::hostTable(std::move(columns));
}

// Two row groups, then the close.
void writeSession(const ustring& name) {
  write::ParquetWriter writer(name);
  writer.setVariableNames({u"x", u"s"});
  writer.write(rows(0, 300).get());
  writer.write(rows(300, 200).get());
  writer.close();
}

class WriteFaults : public testing::Test {
 protected:
  void SetUp() override {
    mPath = mDir.file("out.parquet");
    mName = u"faultyw://" + orvane::utf8_to_ustring(mPath);
    orvane::vfs::registerScheme("faultyw", [](const orvane::vfs::Iri& location, orvane::vfs::CleanupFile& cleanup,
                                              orvane::vfs::OpenMode mode, bool streamFlag) {
      auto stream = orvane::vfs::openBinaryStream(location.path(), cleanup, mode, streamFlag);
      orvane::vfs::OpenedFile opened;
      opened.size = stream->size();
      opened.handle = std::make_unique<FaultyWriteHandle>(stream->detachFileHandle());
      return opened;
    });
  }

  // Spoils each write call of the session in turn with `kind`, with or
  // without an older file under the name; counts the outcomes.
  long faultEveryCall(Fault kind, bool older, int& harmless, int& identified) {
    const std::string before = "an older file that must survive\n";
    const auto reset = [&] {
      std::filesystem::remove(mPath);
      if (older) ovtest::writeBytes(mPath, before);
    };
    reset();
    gPlan = FaultPlan{};
    EXPECT_EQ(unidentified([&] { writeSession(mName); }), "");
    const long calls = gPlan.calls;
    for (long k = 1; k <= calls; ++k) {
      SCOPED_TRACE((kind == Fault::Fail ? "failing write call " : "short write call ") + std::to_string(k));
      reset();
      gPlan = FaultPlan{kind, k, 0, false};
      bool completed = false;
      EXPECT_EQ(unidentified([&] {
                  writeSession(mName);
                  completed = true;
                }),
                "");
      EXPECT_TRUE(gPlan.injected);
      if (completed) {
        ++harmless;
        const read::RowGroupParquetReader reader(orvane::utf8_to_ustring(mPath), std::vector<double>{});
        EXPECT_EQ(reader.getRowGroupHeights(), (std::vector<uint64_t>{300, 200}));
      } else {
        ++identified;
        if (older) {
          EXPECT_EQ(ovtest::readBytes(mPath), before);
        } else {
          EXPECT_FALSE(std::filesystem::exists(mPath));
        }
      }
      // No temporary left beside it either way.
      EXPECT_EQ(mDir.entries(), older || completed ? std::vector<std::string>{"out.parquet"}
                                                   : std::vector<std::string>{});
    }
    return calls;
  }

  ovtest::TempDir mDir;
  std::string mPath;
  ustring mName;
};

TEST_F(WriteFaults, EveryFailingWriteEndsInAnIdentifiedErrorAndLeavesNothing) {
  for (const bool older : {false, true}) {
    int harmless = 0, identified = 0;
    const long calls = faultEveryCall(Fault::Fail, older, harmless, identified);
    ASSERT_GT(calls, 5);
    EXPECT_EQ(harmless, 0);
    std::printf("failing writes (%s older file): %ld faults injected, %d identified errors\n",
                older ? "over an" : "without", calls, identified);
  }
}

TEST_F(WriteFaults, EveryShortWriteEndsInAnIdentifiedErrorAndLeavesNothing) {
  for (const bool older : {false, true}) {
    int harmless = 0, identified = 0;
    const long calls = faultEveryCall(Fault::Short, older, harmless, identified);
    ASSERT_GT(calls, 5);
    EXPECT_EQ(harmless, 0);
    std::printf("short writes (%s older file): %ld faults injected, %d identified errors\n",
                older ? "over an" : "without", calls, identified);
  }
}

}  // namespace
}  // namespace orvane::io::parquet::core
