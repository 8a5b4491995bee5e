#include "toolkit/mapping/files/unpacked.hpp"

#include <fmt/format.h>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <vector>

#include "toolkit/user_error.hpp"

namespace vorin::toolkit {

namespace {

constexpr std::size_t blockSize = 1U << 18U;

}  // namespace

bool isGzip(const std::filesystem::path& path) {
  const OwnFile file = OwnFile::toRead(path);
  std::array<char, 2> start{};
  return file.readSome(0, start.data(), start.size()) == start.size() && start[0] == '\x1f' &&
         start[1] == '\x8b';
}

struct PackedReader::State {
  gzFile file = nullptr;
  std::string name;
};

PackedReader::PackedReader(const std::filesystem::path& path) : state_(std::make_unique<State>()) {
  OwnFile::toRead(path);  // for its sentence
  state_->name = path.string();
#ifdef _WIN32
  state_->file = gzopen_w(path.c_str(), "rb");
#else
  state_->file = gzopen(path.c_str(), "rbe");
#endif
  if (state_->file == nullptr) {
    throw UserError(fmt::format("{}: the file can't be read", state_->name));
  }
  gzbuffer(state_->file, static_cast<unsigned>(blockSize));
}

PackedReader::~PackedReader() {
  gzclose_r(state_->file);
}

std::size_t PackedReader::read(char* bytes, std::size_t count) {
  std::size_t done = 0;
  while (done < count) {
    const std::size_t next = std::min<std::size_t>(count - done, 1U << 30U);
    const int got = gzread(state_->file, bytes + done, static_cast<unsigned>(next));
    int error = Z_OK;
    gzerror(state_->file, &error);
    if (got < 0 || (error != Z_OK && error != Z_STREAM_END)) {
      throw UserError(
          fmt::format("{}: the packed file is damaged or cut off; copy it anew", state_->name));
    }
    if (got == 0) {
      break;
    }
    done += static_cast<std::size_t>(got);
  }
  return done;
}

OwnFile unpacked(const std::filesystem::path& path, std::uint64_t size,
                 const std::filesystem::path& scratch) {
  // A packed byte unfolds to 1032 at most (RFC 1951), so that a header that lies is found out
  // before anything is written.
  constexpr std::uint64_t mostRatio = 1032;
  const auto cutOff = [&] {
    return UserError(fmt::format(
        "{}: the file is cut off or its header is wrong: it asks for {} bytes of content",
        path.string(), size));
  };
  if (size / mostRatio > std::filesystem::file_size(path)) {
    throw cutOff();
  }
  PackedReader reader(path);
  OwnFile target = OwnFile::unnamed(scratch);
  std::vector<char> block(blockSize);
  std::uint64_t at = 0;
  // To the end, behind which the checksum is.
  while (const std::size_t got = reader.read(block.data(), block.size())) {
    const std::uint64_t wanted = size - std::min(at, size);
    target.write(at, block.data(), static_cast<std::size_t>(std::min<std::uint64_t>(got, wanted)));
    at += got;
  }
  if (at < size) {
    throw cutOff();
  }
  return target;
}

void packInto(const OwnFile& source, std::uint64_t count, const OwnFile& target) {
  z_stream stream{};
  constexpr int gzipWindow = 15 + 16;
  constexpr int memory = 8;
  if (deflateInit2(&stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, gzipWindow, memory,
                   Z_DEFAULT_STRATEGY) != Z_OK) {
    throw UserError(fmt::format("{}: there is not enough memory to pack it", target.name()));
  }
  // The header names a system. With one and the same, a map has the same bytes on all of them.
  gz_header header{};
  constexpr int posix = 3;
  header.os = posix;
  deflateSetHeader(&stream, &header);
  std::vector<char> in(blockSize);
  std::vector<char> out(blockSize);
  std::uint64_t from = 0;
  std::uint64_t to = 0;
  try {
    int status = Z_OK;
    while (status != Z_STREAM_END) {
      const auto next = static_cast<std::size_t>(std::min<std::uint64_t>(in.size(), count - from));
      source.read(from, in.data(), next);
      from += next;
      stream.next_in = reinterpret_cast<Bytef*>(in.data());
      stream.avail_in = static_cast<uInt>(next);
      do {
        stream.next_out = reinterpret_cast<Bytef*>(out.data());
        stream.avail_out = static_cast<uInt>(out.size());
        status = deflate(&stream, from == count ? Z_FINISH : Z_NO_FLUSH);
        const std::size_t made = out.size() - stream.avail_out;
        target.write(to, out.data(), made);
        to += made;
      } while (stream.avail_out == 0);
    }
  } catch (...) {
    deflateEnd(&stream);
    throw;
  }
  deflateEnd(&stream);
}

}  // namespace vorin::toolkit
