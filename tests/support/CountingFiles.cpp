#include "CountingFiles.hpp"

#include <ovparquet/host/iri.hpp>
#include <ovparquet/host/stream.hpp>

#include <algorithm>
#include <mutex>

namespace ovtest {

namespace {

using Range = std::pair<std::int64_t, std::int64_t>;

// Sorts ranges and merges those that overlap or touch.
std::vector<Range> merged(std::vector<Range> ranges) {
  std::sort(ranges.begin(), ranges.end());
  std::vector<Range> out;
  for (const Range& range : ranges) {
    if (!out.empty() && range.first <= out.back().second) {
      out.back().second = std::max(out.back().second, range.second);
    } else {
      out.push_back(range);
    }
  }
  return out;
}

}  // namespace

// Everything counted through one scheme; shared by the CountingFiles object,
// the registered opener and every handle it made, so that a handle may
// outlive the object.
struct CountingFiles::State {
  struct Record {
    FileCounts counts;
    std::vector<Range> ranges;  // unmerged, in reading order
  };

  mutable std::mutex mutex;
  std::vector<std::shared_ptr<Record>> records;
  std::int64_t totalRead = 0;

  std::shared_ptr<Record> open(const std::string& path) {
    auto record = std::make_shared<Record>();
    record->counts.path = path;
    std::lock_guard<std::mutex> lock(mutex);
    records.push_back(record);
    return record;
  }

  void addRead(Record& record, std::int64_t position, std::int64_t count) {
    std::lock_guard<std::mutex> lock(mutex);
    ++record.counts.readCalls;
    if (count <= 0) return;
    record.counts.bytesRead += count;
    totalRead += count;
    if (position >= 0) {
      // Consecutive small reads extend the last range instead of piling up.
      if (!record.ranges.empty() && record.ranges.back().second == position) {
        record.ranges.back().second += count;
      } else {
        record.ranges.emplace_back(position, position + count);
      }
    }
  }

  void addWrite(Record& record, std::int64_t count) {
    std::lock_guard<std::mutex> lock(mutex);
    if (count > 0) record.counts.bytesWritten += count;
  }

  void addSeek(Record& record) {
    std::lock_guard<std::mutex> lock(mutex);
    ++record.counts.seeks;
  }
};

namespace {

using Record = CountingFiles::State::Record;

// A file handle that forwards every operation to the local file's handle and
// counts what passes through. It keeps no buffer of its own: each read of the
// stream above reaches the inner handle (which buffers), so the counts are
// exact and the positions are always the inner handle's.
class CountingHandle final : public orvane::vfs::FileHandle {
 public:
  CountingHandle(std::unique_ptr<orvane::vfs::FileHandle> inner, std::shared_ptr<CountingFiles::State> state,
                 std::shared_ptr<Record> record)
      : mInner(std::move(inner)), mState(std::move(state)), mRecord(std::move(record)) {}

  bool isOpen() const override { return mInner->isOpen(); }
  void close() override { mInner->close(); }

 protected:
  // Peeking: the next character without consuming it; not counted.
  int_type underflow() override { return mInner->sgetc(); }

  int_type uflow() override {
    const std::int64_t position = currentPosition();
    const int_type c = mInner->sbumpc();
    mState->addRead(*mRecord, position, traits_type::eq_int_type(c, traits_type::eof()) ? 0 : 1);
    return c;
  }

  std::streamsize xsgetn(char_type* s, std::streamsize n) override {
    const std::int64_t position = currentPosition();
    const std::streamsize count = mInner->sgetn(s, n);
    mState->addRead(*mRecord, position, static_cast<std::int64_t>(count));
    return count;
  }

  std::streamsize showmanyc() override { return mInner->in_avail(); }

  int_type pbackfail(int_type c) override {
    return traits_type::eq_int_type(c, traits_type::eof()) ? mInner->sungetc()
                                                           : mInner->sputbackc(traits_type::to_char_type(c));
  }

  int_type overflow(int_type c) override {
    if (traits_type::eq_int_type(c, traits_type::eof())) {
      return mInner->pubsync() == 0 ? traits_type::not_eof(c) : traits_type::eof();
    }
    const int_type written = mInner->sputc(traits_type::to_char_type(c));
    if (!traits_type::eq_int_type(written, traits_type::eof())) mState->addWrite(*mRecord, 1);
    return written;
  }

  std::streamsize xsputn(const char_type* s, std::streamsize n) override {
    const std::streamsize count = mInner->sputn(s, n);
    mState->addWrite(*mRecord, static_cast<std::int64_t>(count));
    return count;
  }

  int sync() override { return mInner->pubsync(); }

  pos_type seekoff(off_type off, std::ios_base::seekdir dir, std::ios_base::openmode which) override {
    if (!(dir == std::ios_base::cur && off == 0)) mState->addSeek(*mRecord);
    return mInner->pubseekoff(off, dir, which);
  }

  pos_type seekpos(pos_type pos, std::ios_base::openmode which) override {
    mState->addSeek(*mRecord);
    return mInner->pubseekpos(pos, which);
  }

 private:
  // The read position, or -1 when the inner handle cannot tell.
  std::int64_t currentPosition() {
    const pos_type position = mInner->pubseekoff(0, std::ios_base::cur, std::ios_base::in);
    return static_cast<std::int64_t>(off_type(position));
  }

  std::unique_ptr<orvane::vfs::FileHandle> mInner;
  std::shared_ptr<CountingFiles::State> mState;
  std::shared_ptr<Record> mRecord;
};

}  // namespace

CountingFiles::CountingFiles(std::string scheme) : mScheme(std::move(scheme)), mState(std::make_shared<State>()) {
  orvane::vfs::registerScheme(
      mScheme, [state = mState](const orvane::vfs::Iri& location, orvane::vfs::CleanupFile& cleanup,
                                orvane::vfs::OpenMode mode, bool streamFlag) {
        // The location's path is an absolute local path: open it as one.
        auto local = orvane::vfs::openBinaryStream(location.path(), cleanup, mode, streamFlag);
        orvane::vfs::OpenedFile opened;
        opened.size = local->size();
        auto record = state->open(orvane::ustring_to_utf8(location.path()));
        opened.handle = std::make_unique<CountingHandle>(local->detachFileHandle(), state, std::move(record));
        return opened;
      });
}

// The scheme stays registered: handles still open keep counting into the
// shared state, and a later CountingFiles of the same scheme replaces the
// opener.
CountingFiles::~CountingFiles() = default;

orvane::ustring CountingFiles::location(const std::string& localPath) const {
  // The "file" location's text carries the absolute, percent-encoded path.
  const orvane::ustring fileText = orvane::vfs::Iri::absolute(orvane::utf8_to_ustring(localPath)).text();
  return orvane::utf8_to_ustring(mScheme) + fileText.substr(fileText.find(u':'));
}

std::int64_t CountingFiles::bytesRead() const {
  std::lock_guard<std::mutex> lock(mState->mutex);
  return mState->totalRead;
}

std::int64_t CountingFiles::bytesRead(const std::string& localPath) const {
  const std::string path = orvane::ustring_to_utf8(orvane::vfs::Iri::absolute(orvane::utf8_to_ustring(localPath)).path());
  std::lock_guard<std::mutex> lock(mState->mutex);
  std::int64_t total = 0;
  for (const auto& record : mState->records) {
    if (record->counts.path == path) total += record->counts.bytesRead;
  }
  return total;
}

std::size_t CountingFiles::openCount() const {
  std::lock_guard<std::mutex> lock(mState->mutex);
  return mState->records.size();
}

std::vector<CountingFiles::FileCounts> CountingFiles::files() const {
  std::lock_guard<std::mutex> lock(mState->mutex);
  std::vector<FileCounts> out;
  out.reserve(mState->records.size());
  for (const auto& record : mState->records) {
    FileCounts counts = record->counts;
    counts.readRanges = merged(record->ranges);
    out.push_back(std::move(counts));
  }
  return out;
}

bool CountingFiles::touched(const std::string& localPath, std::int64_t begin, std::int64_t end) const {
  const std::string path = orvane::ustring_to_utf8(orvane::vfs::Iri::absolute(orvane::utf8_to_ustring(localPath)).path());
  std::lock_guard<std::mutex> lock(mState->mutex);
  for (const auto& record : mState->records) {
    if (record->counts.path != path) continue;
    for (const Range& range : record->ranges) {
      if (range.first < end && begin < range.second) return true;
    }
  }
  return false;
}

void CountingFiles::reset() {
  std::lock_guard<std::mutex> lock(mState->mutex);
  mState->totalRead = 0;
  // Closed files are forgotten; open ones stay listed with fresh counts.
  std::vector<std::shared_ptr<State::Record>> open;
  for (auto& record : mState->records) {
    if (record.use_count() == 1) continue;
    const std::string path = record->counts.path;
    record->counts = FileCounts();
    record->counts.path = path;
    record->ranges.clear();
    open.push_back(record);
  }
  mState->records = std::move(open);
}

}  // namespace ovtest
