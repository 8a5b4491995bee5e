// The one table of keys. Set, query and reset walk it, it gives the parameter block its slots and
// load values, and the page of keys and the table in the header are written from it.
//
// A key is compared on as many characters as it is spelled with here: most on
// four, SIG, TOL, DSE and CSE on three, C1 and C2 on two, with anything behind.
// CSE is thereby also what the key CSE2 reaches. No key that arrives can match
// two rows (keysAreDistinct below proves it), so the order of the rows decides
// nothing, neither for a set nor for a query.
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string_view>

#include "params/choices.hpp"

namespace vorin::params {

/// What a slot holds and how a query writes it as text.
enum class Kind {
  integer,  ///< a number, integer by meaning; text: plus 0.5, truncated, 4 columns (I4)
  general,  ///< a number; text: general field of 12 columns, 5 places (G12.5)
  text,     ///< any text, stored in upper case
  choice    ///< one of a few texts, which also has a numeric code
};

/// One key. A key without a reset value keeps what it holds across the reset.
struct KeyRow {
  std::string_view key;
  Kind kind;
  bool settable;                              ///< false: a set treats the key as unknown
  float load;                                 ///< numbers: the value at loading
  std::optional<float> reset;                 ///< numbers: the value a reset writes
  std::size_t slotLength;                     ///< texts and choices: characters of the slot
  std::string_view loadText;                  ///< texts and choices: the text at loading
  std::optional<std::string_view> resetText;  ///< texts and choices: what a reset writes
  const Choice* choice;                       ///< choices: the mapping of texts and codes
  std::string_view meaning;

  constexpr bool holdsNumber() const { return kind == Kind::integer || kind == Kind::general; }
};

inline constexpr std::size_t keyLength = 4;
inline constexpr std::size_t textSlotLength = 16;
inline constexpr std::size_t fileNameSlotLength = 256;

namespace table {

inline constexpr std::nullopt_t kept = std::nullopt;  // no reset value

constexpr KeyRow number(std::string_view key, Kind kind, float load, std::optional<float> reset,
                        std::string_view meaning) {
  return {key, kind, true, load, reset, 0, "", kept, nullptr, meaning};
}

constexpr KeyRow text(std::string_view key, std::size_t slotLength, std::string_view load,
                      std::optional<std::string_view> reset, std::string_view meaning) {
  return {key, Kind::text, true, 0, kept, slotLength, load, reset, nullptr, meaning};
}

constexpr KeyRow choice(std::string_view key, const Choice& mapping, std::string_view load,
                        std::optional<std::string_view> reset, std::string_view meaning) {
  return {key, Kind::choice, true, 0, kept, textSlotLength, load, reset, &mapping, meaning};
}

constexpr KeyRow readOnly(KeyRow row) {
  row.settable = false;
  return row;
}

inline constexpr Kind i4 = Kind::integer;
inline constexpr Kind g12 = Kind::general;

}  // namespace table

// Required: load and reset values differ for REPO, EWIT, RSIG, PRMO, NALG and
// some result keys. A host that resets gets the second set, one that doesn't
// keeps the first, and each has results that depend on it.
inline constexpr auto keyTable = [] {
  using namespace table;
  return std::array{
      // settings of the driver
      number("REPO", i4, 1, 2,
             "reporting level of the log; above 3 a save section is written as well"),
      readOnly(number("VERN", i4, 1056, kept, "version as a number")),
      readOnly(text("VERS", textSlotLength, "Vorin10.56", kept, "version as a text")),
      number("SAVE", i4, 0, kept,
             "1: save section at the end of a call; 2: compact if the log is closed"),
      number("SAVF", i4, 1, kept, "stored and answered; no routine reads it"),
      text("FLOG", fileNameSlotLength, "Vorin", "Vorin", "name of the log file"),
      text("PRAV", textSlotLength, "DATA", kept, "stored and answered; no routine reads it"),

      // reduction of the problem
      // Required: the reset text is none of the choices. It answers 0 and "NONE",
      // but a driver that reads the slot itself prunes as for LOG.
      choice("PRMO", choices::prmo, "LOG", "A", "mode of pruning"),
      number("PRLO", i4, 1, 1, "first data point of the pruning range"),
      number("PRHI", i4, -1, -1, "last data point of the pruning range; accepted, without effect"),
      number("PRPO", i4, 200, 200, "points wanted after pruning"),
      number("SVDT", i4, 999, kept, "threshold of the SVD compression"),
      number("SVDN", i4, 0, kept, "singular vectors kept by the SVD compression"),
      number("L2MO", i4, 0, kept,
             "1: VorinC5_s and VorinyC5_s reject outliers before the inversion"),
      number("L2NS", i4, 3, kept,
             "distance from the fit at which VorinC5_s and VorinyC5_s reject a point"),

      // the solve at one weight
      number("BRDA", i4, 2, kept,
             "route of the solver: 1 single, 3 quadratic program, else double"),
      number("TOL", g12, 0.000001F, 0.000001F, "convergence tolerance of the BRD iteration"),
      number("MAXI", i4, 50, 50, "limit of passes of the BRD iteration"),

      // noise and the standard error wanted
      choice("NALG", choices::nalg, "U", "URF", "algorithm of the noise estimate"),
      number("SIG", g12, 0.01F, 0.01F, "noise standard deviation that the host states"),
      number("RSIG", g12, 1.05F, 0.2F, "factor on the noise in the standard error wanted"),
      number("L1AL", g12, 0.05F, kept,
             "mixing factor of data and noise in the standard error wanted"),

      // the weight and its search
      choice("TARG", choices::targ, "NOISE", kept,
             "how the weight is chosen: from the noise, at the corner, or fixed"),
      number("WEIG", g12, 0.01F, 0.01F, "regularisation weight: start of the search, or fixed"),
      number("WITE", i4, 40, 40, "limit of iterations of the weight search"),
      // Required: the text form is that of an integer, although the value is a
      // fraction: it reads 0 at the default. The number is exact.
      number("WTOL", i4, 0.001F, 0.001F, "relative tolerance of the weight search on the residual"),
      number("STOL", g12, 0.005F, kept, "read by the weight search, without effect"),
      number("WRAT", g12, 10, 10, "greatest factor by which one update moves the weight"),
      number("WFRA", g12, 1, 1, "fraction of the Newton step taken"),
      number("RWEI", g12, 0.1F, kept, "factor on the weight after the corner search"),
      number("WREF", g12, 1, kept, "mean squared column norm that scales WNMI and WNMA"),
      number("WMIN", g12, 1e-30F, kept, "lower limit of the weight"),
      number("WMAX", g12, 1e30F, kept, "upper limit of the weight"),
      number("WNMI", g12, 1e-30F, kept, "lower limit of the weight in units of WREF"),
      number("WNMA", g12, 1e30F, kept, "upper limit of the weight in units of WREF"),

      // results; 99 until an inversion has written them
      number("CSTA", i4, 99, 0, "status of the last inversion"),
      number("CWEI", g12, 99, 0, "final weight"),
      number("CWIT", i4, 99, kept, "iterations of the weight search"),
      number("CITE", i4, 99, kept, "passes of the last solve"),
      number("CSIG", g12, 99, kept, "noise standard deviation in force at the end"),
      number("CSI2", g12, 99, kept, "noise estimate of the compressed drivers"),
      number("DSE", g12, 99, kept, "standard error wanted"),
      // Required: CSE2 has no slot and reaches this one. The driver writes CSE2
      // and then CSE, so that the later value remains.
      number("CSE", g12, 99, 0, "standard error reached"),

      // held for hosts
      number("EWIT", i4, 2, 1, "stored and answered; no routine reads it"),
      number("C1", g12, 0, 0, "stored and answered; no routine reads it"),
      number("C2", g12, 1, 1, "stored and answered; no routine reads it"),
  };
}();

/// Whether `key`, upper case and four characters long, is that of `row`.
constexpr bool matches(const KeyRow& row, std::string_view key) {
  return key.substr(0, row.key.size()) == row.key;
}

constexpr bool keysAreDistinct() {
  for (std::size_t i = 0; i < keyTable.size(); ++i) {
    for (std::size_t j = 0; j < keyTable.size(); ++j) {
      if (i != j && matches(keyTable[i], keyTable[j].key)) {
        return false;
      }
    }
  }
  return true;
}
static_assert(keysAreDistinct(), "a key that arrives must not match two rows");

}  // namespace vorin::params
