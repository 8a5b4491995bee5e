// The journal of a batch: which decays are done, so that a second run goes on where the first was
// interrupted.
#pragma once

#include <filesystem>
#include <fstream>
#include <map>
#include <string>

#include "toolkit/writing/batch_table.hpp"

namespace vorin::toolkit {

/// What the files about all decays need of one.
struct DoneDecay {
  BatchRow row;
  std::string json;  ///< its object; empty where none is asked for
};

/// A file with a line for each decay that is done, written as soon as its own files are. It
/// exists while a batch runs, and after one that was interrupted.
class BatchJournal {
 public:
  /// `settings` is a text that is the same for runs whose results are.
  BatchJournal(std::filesystem::path file, const std::string& settings);

  /// The decays that an interrupted run has done, by key(). A last line that it did not
  /// complete does not count. Throws UserError where that run had other settings.
  std::map<std::string, DoneDecay> read() const;

  /// Begins the file anew.
  void begin();
  void add(const std::string& key, const DoneDecay& done);
  /// Removes the file: all is done.
  void end();

  /// What tells a decay of a file from others, and from one of a file that has changed since.
  static std::string key(const std::string& decay, const std::filesystem::path& file);

 private:
  std::filesystem::path file_;
  std::string head_;
  std::ofstream stream_;
};

}  // namespace vorin::toolkit
