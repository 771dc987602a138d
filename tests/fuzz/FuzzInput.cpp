#include "FuzzInput.hpp"

#include <ovparquet/host/memory.hpp>
#include <ovparquet/host/stream.hpp>
#include <ovparquet/host/threads.hpp>

#include <memory>
#include <string>
#include <string_view>

namespace ovfuzz {
namespace {

// The current input; the fuzzer owns the bytes for the duration of a run.
std::string_view gInput;

// A read-only stream buffer over the current input.
class InputHandle : public orvane::vfs::FileHandle {
 public:
  explicit InputHandle(std::string_view bytes) {
    char* begin = const_cast<char*>(bytes.data());
    setg(begin, begin, begin + bytes.size());
  }
  bool isOpen() const override { return mOpen; }
  void close() override { mOpen = false; }

 protected:
  pos_type seekoff(off_type off, std::ios_base::seekdir dir, std::ios_base::openmode which) override {
    if (!(which & std::ios_base::in)) return pos_type(off_type(-1));
    const off_type size = egptr() - eback();
    const off_type base = dir == std::ios_base::beg ? 0 : dir == std::ios_base::cur ? gptr() - eback() : size;
    const off_type target = base + off;
    if (target < 0 || target > size) return pos_type(off_type(-1));
    setg(eback(), eback() + target, egptr());
    return target;
  }
  pos_type seekpos(pos_type pos, std::ios_base::openmode which) override {
    return seekoff(off_type(pos), std::ios_base::beg, which);
  }

 private:
  bool mOpen = true;
};

}  // namespace

void initialise() {
  orvane::setComputationalThreadCount(1);
  orvane::setReadMemoryLimit(kReadMemoryLimit);
  orvane::vfs::registerScheme("fuzzmem", [](const orvane::vfs::Iri&, orvane::vfs::CleanupFile&,
                                            orvane::vfs::OpenMode, bool) {
    orvane::vfs::OpenedFile opened;
    opened.handle = std::make_unique<InputHandle>(gInput);
    opened.size = static_cast<std::int64_t>(gInput.size());
    return opened;
  });
}

orvane::ustring serve(const std::uint8_t* data, std::size_t size) {
  gInput = std::string_view(reinterpret_cast<const char*>(data), size);
  return u"fuzzmem://input/file.parquet";
}

}  // namespace ovfuzz
