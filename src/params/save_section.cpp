// The save section in its two layouts. A free-form line has a blank in front and
// blanks between its items.
//
// Required: the labels nf and ng name the number of coefficients and that of data
// points, the reverse of what the names mean everywhere else. Programs that read
// sections go by them.
#include "params/save_section.hpp"

#include <cstddef>
#include <initializer_list>
#include <iterator>
#include <string>
#include <string_view>

#include "params/format_text.hpp"
#include "params/log.hpp"
#include "params/log_file.hpp"
#include "params/number_field.hpp"
#include "params/store.hpp"
#include "params/text.hpp"

namespace vorin::params {
namespace {

/// What a section shows; the arguments of VorinSave.
struct Saved {
  std::int32_t nf;
  std::int32_t ng;
  const float* K;
  const float* T;
  const float* Y;
  const float* FIT;
  const float* G;
  const float* F2;
  const float* F;
};

constexpr std::string_view title = "!  Vorin save1";
constexpr std::string_view compactCoefficients = "[COEFF T2DIST  VORIN]";

// Required: the list is the one that programs which read sections know. NAlg is found
// because a query upper-cases its key. LOG, L1A1 and CDE are no keys: their lines
// show the name alone.
constexpr std::string_view savedKeys[] = {
    "TARG", "NAlg", "WEIG", "RSIG", "SIG ", "PRMO", "PRHI", "PRLO", "PRPO", "MAXI", "TOL ",
    "WTOL", "REPO", "LOG ", "FLOG", "SAVE", "WRAT", "WFRA", "SVDT", "SVDN", "L1A1", "L2MO",
    "L2NS", "WMAX", "WMIN", "WNMA", "WNMI", "DSE ", "CDE ", "CSE ", "CSTA", "CWEI"};
static_assert(std::size(savedKeys) == 32);

/// What a query of `key` answers, in a field of 32 characters.
std::string valueText(std::string_view key, std::int32_t& status) {
  constexpr std::int32_t valueWidth = 32;
  std::string text(valueWidth, ' ');
  float value = 0;
  setQuery('Q', key, text.data(), valueWidth, value, status);
  return text;
}

void writeFreeForm(std::string_view text) {
  writeLine(' ' + std::string(text));
}

void writeEmpty(int lines) {
  for (int i = 0; i < lines; ++i) {
    writeLine("");
  }
}

/// `values` in columns that line up, with the 9 places from which each reads back as
/// the same number.
void writeReals(std::initializer_list<float> values) {
  constexpr int width = 16;  // sign, "0.", places, exponent
  constexpr int places = 9;
  std::string line;
  for (const float value : values) {
    line += ' ' + generalField(static_cast<double>(value), width, places);
  }
  writeLine(trimmed(line));
}

/// Row `i` of the kernel. Up to 9999 columns programs read these lines back by the
/// format "(", ng in 4 columns, "(1X,G12.5))"; longer lines have the same columns.
void writeKernelRow(const Saved& saved, std::ptrdiff_t i) {
  constexpr int width = 12;
  constexpr int places = 5;
  std::string line;
  for (std::ptrdiff_t j = 0; j < saved.ng; ++j) {
    line += ' ';
    line += generalField(static_cast<double>(saved.K[i + j * saved.nf]), width, places);
  }
  writeLine(line);
}

void writeFull(const Saved& saved, std::int32_t& status) {
  writeFreeForm(title);
  writeEmpty(1);
  writeFreeForm("[PARAM]");
  writeFreeForm("nf     " + freeForm(saved.ng));  // the label has 6 columns
  writeFreeForm("ng     " + freeForm(saved.nf));
  for (const std::string_view key : savedKeys) {
    writeLine(trimmed(std::string(key) + "   " + valueText(key, status)));
  }
  writeEmpty(1);
  writeFreeForm("[COEF]");
  writeEmpty(2);
  for (std::ptrdiff_t k = 0; k < saved.ng; ++k) {
    writeReals({saved.G[k], saved.F2[k], saved.F[k]});
  }
  writeEmpty(1);
  writeFreeForm("[DATA]");
  writeEmpty(2);
  for (std::ptrdiff_t i = 0; i < saved.nf; ++i) {
    writeReals({saved.T[i], saved.Y[i], saved.FIT[i]});
  }
  writeEmpty(1);
  writeFreeForm("[K]");
  for (std::ptrdiff_t i = 0; i < saved.nf; ++i) {
    writeKernelRow(saved, i);
  }
  writeEmpty(1);
  writeFreeForm("[EOF]");
}

/// `items` without blanks and tabs.
std::string stripped(std::string_view items) {
  std::string text(items.size(), ' ');
  std::int32_t length = 0;
  StripBlanks(text, &length, items);
  return cutTo(text, static_cast<std::size_t>(length));
}

/// Two numbers as comma-separated fields.
void writePair(float first, float second) {
  constexpr int width = 13;
  constexpr int places = 6;
  writeFreeForm(stripped(generalField(static_cast<double>(first), width, places) + ',' +
                         generalField(static_cast<double>(second), width, places)));
}

// The title and the heads of the tables keep their blanks; the lines of fields lose
// them, which is what makes them comma-separated.
void writeCompact(const Saved& saved, std::int32_t& status) {
  writeFreeForm(title);
  writeFreeForm("[DATA]");
  writeEmpty(2);
  for (std::ptrdiff_t i = 0; i < saved.nf; ++i) {
    writePair(saved.T[i], saved.Y[i]);
  }
  writeEmpty(1);
  writeFreeForm('*' + std::string(compactCoefficients));
  writeFreeForm("*nf," + freeForm(saved.ng));
  writeFreeForm("*ng," + freeForm(saved.nf));
  for (const std::string_view key : savedKeys) {
    writeLine(stripped('*' + std::string(key) + ',' + valueText(key, status)));
  }
  for (std::ptrdiff_t k = 0; k < saved.ng; ++k) {
    writePair(saved.G[k], saved.F[k]);
  }
}

/// The file of a compact section: the log's name, with .sav for its extension.
std::string compactFileName() {
  constexpr std::string_view logExtension = ".LOG";
  const std::string log = logFileName();
  const std::size_t stem = log.size() < logExtension.size() ? 0 : log.size() - logExtension.size();
  const bool hasExtension = EqualNoCase(std::string_view(log).substr(stem), logExtension);
  return (hasExtension ? log.substr(0, stem) : log) + ".sav";
}

}  // namespace

void VorinSave(std::int32_t unit, std::int32_t nf, std::int32_t ng, const float* K, const float* T,
               const float* Y, const float* FIT, const float* G, const float* F2, const float* F,
               std::int32_t status) {
  const Saved saved = {nf, ng, K, T, Y, FIT, G, F2, F};
  constexpr std::int32_t compactLayout = 2;
  std::int32_t layout = 0;
  setQueryInteger('Q', "SAVE", layout, status);
  // Required: an open log gets the section in full whatever SAVE says; a host that
  // asks for the compact layout gets it only where there is no log.
  if (unitIsOpen(unit)) {
    writeFull(saved, status);
  } else if (layout == compactLayout && !logIsPlaced()) {
    std::int32_t result = 0;
    FOPEN(unit, compactFileName(), "UNKNOWN", result);
    if (result == 0) {
      writeCompact(saved, status);
      closeLogUnit();
    }
  }
}

}  // namespace vorin::params
