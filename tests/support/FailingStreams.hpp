// Test support: file handles whose device fails, served under schemes of
// their own, so that the adapter's stream meets the flags a real I/O error
// leaves behind.
#pragma once

#include <ovparquet/host/stream.hpp>

#include <atomic>
#include <memory>
#include <stdexcept>
#include <string>

namespace ovtest {

// Reads fail: the device raises, which the stream turns into its bad flag.
// Seeking works, so the failure is met by the read itself.
class UnreadableHandle : public orvane::vfs::FileHandle {
 public:
  bool isOpen() const override { return mOpen; }
  void close() override { mOpen = false; }

 protected:
  int_type underflow() override { throw std::runtime_error("device read error"); }
  std::streamsize xsgetn(char*, std::streamsize) override { throw std::runtime_error("device read error"); }
  pos_type seekoff(off_type off, std::ios_base::seekdir dir, std::ios_base::openmode) override {
    mPosition = (dir == std::ios_base::beg ? 0 : mPosition) + off;
    return mPosition;
  }
  pos_type seekpos(pos_type pos, std::ios_base::openmode which) override {
    return seekoff(off_type(pos), std::ios_base::beg, which);
  }

 private:
  off_type mPosition = 0;
  bool mOpen = true;
};

// Writes are refused after `accepted` bytes (the device is full), which the
// stream turns into its bad flag. The position reports the bytes accepted.
class FullDeviceHandle : public orvane::vfs::FileHandle {
 public:
  explicit FullDeviceHandle(std::streamsize accepted) : mRoom(accepted) {}
  bool isOpen() const override { return mOpen; }
  void close() override { mOpen = false; }

 protected:
  std::streamsize xsputn(const char*, std::streamsize count) override {
    const std::streamsize taken = count < mRoom ? count : mRoom;
    mRoom -= taken;
    mWritten += taken;
    return taken;
  }
  int_type overflow(int_type c) override {
    if (traits_type::eq_int_type(c, traits_type::eof())) return traits_type::not_eof(c);
    if (mRoom == 0) return traits_type::eof();
    --mRoom;
    ++mWritten;
    return c;
  }
  pos_type seekoff(off_type off, std::ios_base::seekdir dir, std::ios_base::openmode) override {
    if (dir == std::ios_base::cur && off == 0) return mWritten;
    return pos_type(off_type(-1));
  }

 private:
  std::streamsize mRoom;
  off_type mWritten = 0;
  bool mOpen = true;
};

// A handle that stays open after its first close and raises on the second;
// `closes` counts the calls.
class StubbornHandle : public orvane::vfs::FileHandle {
 public:
  explicit StubbornHandle(std::shared_ptr<std::atomic<int>> closes) : mCloses(std::move(closes)) {}
  bool isOpen() const override { return true; }
  void close() override {
    if (++*mCloses >= 2) throw std::runtime_error("close failed again");
  }

 private:
  std::shared_ptr<std::atomic<int>> mCloses;
};

// Registers `scheme` so that every file opened under it gets the handle
// `make()` returns, with the given size.
template <typename Make>
void registerHandleScheme(const std::string& scheme, std::int64_t size, Make make) {
  orvane::vfs::registerScheme(scheme, [size, make](const orvane::vfs::Iri&, orvane::vfs::CleanupFile&,
                                                   orvane::vfs::OpenMode, bool) {
    orvane::vfs::OpenedFile opened;
    opened.handle = make();
    opened.size = size;
    return opened;
  });
}

}  // namespace ovtest
