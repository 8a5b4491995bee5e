// Resume files of any bytes: the journal of a batch and that of a map. The first byte says which,
// and whether checksums and marks are put right, so that what is behind them is reached. Each is
// read, or refused with a sentence that names the file.
#include <zlib.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

#include "bytes.hpp"
#include "hosts/vorin/batch_journal.hpp"
#include "own_folder.hpp"
#include "toolkit/mapping/files/map_journal.hpp"
#include "toolkit/user_error.hpp"

namespace {

namespace toolkit = vorin::toolkit;
using vorin::fuzz::require;

const std::string name = "f.unfinished";

template <class Value>
std::string bytesOf(Value value) {
  return {reinterpret_cast<const char*>(&value), sizeof value};
}

std::uint32_t checksum(std::string_view bytes) {
  return static_cast<std::uint32_t>(
      crc32_z(0, reinterpret_cast<const Bytef*>(bytes.data()), bytes.size()));
}

void readBatch(const std::string& content) {
  toolkit::BatchJournal journal(name, "settings");
  journal.begin();
  std::ofstream(name, std::ios::binary | std::ios::app) << content;
  (void)journal.read();
}

/// A head, which ends at the first zero byte, with its mark, length and checksum; behind it the
/// rest, each part of it up to "\n\n" as a record of one block with its checksum.
std::string withChecksums(const std::string& content) {
  const std::size_t end = std::min(content.find('\0'), content.size());
  const std::string head = content.substr(0, end);
  std::string file = "VORINMAP" + bytesOf(std::uint64_t{head.size()}) + head;
  file += bytesOf(checksum(head));
  std::uint64_t number = 0;
  for (std::size_t at = end + 1; at < content.size();) {
    const std::size_t stop = std::min(content.find("\n\n", at), content.size());
    const std::string record = bytesOf(number) + content.substr(at, stop - at);
    file += record + bytesOf(checksum(record));
    at = stop + 2;
    ++number;
  }
  return file;
}

void readMap(const std::string& file) {
  std::ofstream(name, std::ios::binary) << file;
  {
    const toolkit::MapJournal journal = toolkit::MapJournal::open(name, true);
    const toolkit::MapHead& head = journal.head();
    for (std::size_t block = head.firstBlock; block < journal.next(); ++block) {
      for (std::size_t array = 0; array < head.arrays.size(); ++array) {
        const std::size_t voxels = head.tiling().box(block).count();
        require(journal.read(block, array).size() == voxels * head.arrays[array].numbers());
      }
    }
    require(journal.isWhole() == (journal.next() == head.lastBlock));
  }
  // What is opened to go on with ends behind its last good record.
  const std::size_t next = toolkit::MapJournal::open(name, false).next();
  require(toolkit::MapJournal::open(name, true).next() == next);
  std::vector<std::pair<std::string, toolkit::MapJournal>> parts;
  parts.emplace_back(name, toolkit::MapJournal::open(name, true));
  const toolkit::MapResults joined(std::move(parts));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const vorin::fuzz::OwnFolder folder;
  if (size == 0) {
    return 0;
  }
  const std::string content(reinterpret_cast<const char*>(data) + 1, size - 1);
  try {
    if (data[0] % 3 == 0) {
      readBatch(content);
    } else {
      readMap(data[0] % 3 == 1 ? withChecksums(content) : content);
    }
  } catch (const toolkit::UserError& error) {
    require(std::string_view(error.what()).find(name) != std::string_view::npos);
  }
  return 0;
}
