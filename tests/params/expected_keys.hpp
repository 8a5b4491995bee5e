// What hosts are told of every key: its values after loading and after a reset,
// and the text that a query gives for each. Written out by hand, not made from
// the library's own table.
#pragma once

#include <optional>
#include <string_view>

namespace expected {

struct NumberKey {
  std::string_view key;  ///< four characters, as a host passes it
  float load;
  std::string_view loadText;   ///< the text form of `load`
  std::optional<float> reset;  ///< empty: the reset leaves the key alone
  std::string_view resetText;  ///< the text form of `reset`
};

inline constexpr std::nullopt_t kept = std::nullopt;

inline constexpr NumberKey numberKeys[] = {
    {"REPO", 1.0F, "   1", 2.0F, "   2"},
    {"VERN", 1056.0F, "1056", kept, ""},
    {"SAVE", 0.0F, "   0", kept, ""},
    {"SAVF", 1.0F, "   1", kept, ""},
    {"SVDT", 999.0F, " 999", kept, ""},
    {"SVDN", 0.0F, "   0", kept, ""},
    {"WEIG", 0.01F, " 0.10000E-01", 0.01F, " 0.10000E-01"},
    {"EWIT", 2.0F, "   2", 1.0F, "   1"},
    {"SIG ", 0.01F, " 0.10000E-01", 0.01F, " 0.10000E-01"},
    {"PRLO", 1.0F, "   1", 1.0F, "   1"},
    {"PRHI", -1.0F, "   0", -1.0F, "   0"},
    {"PRPO", 200.0F, " 200", 200.0F, " 200"},
    {"TOL ", 1e-6F, " 0.10000E-05", 1e-6F, " 0.10000E-05"},
    {"MAXI", 50.0F, "  50", 50.0F, "  50"},
    {"WITE", 40.0F, "  40", 40.0F, "  40"},
    {"WTOL", 0.001F, "   0", 0.001F, "   0"},
    {"STOL", 0.005F, " 0.50000E-02", kept, ""},
    {"WRAT", 10.0F, "  10.000    ", 10.0F, "  10.000    "},
    {"WFRA", 1.0F, "  1.0000    ", 1.0F, "  1.0000    "},
    {"RSIG", 1.05F, "  1.0500    ", 0.2F, " 0.20000    "},
    {"RWEI", 0.1F, " 0.10000    ", kept, ""},
    {"C1  ", 0.0F, "  0.0000    ", 0.0F, "  0.0000    "},
    {"C2  ", 1.0F, "  1.0000    ", 1.0F, "  1.0000    "},
    {"CSIG", 99.0F, "  99.000    ", kept, ""},
    {"CSI2", 99.0F, "  99.000    ", kept, ""},
    {"DSE ", 99.0F, "  99.000    ", kept, ""},
    {"CSE ", 99.0F, "  99.000    ", 0.0F, "  0.0000    "},
    {"CITE", 99.0F, "  99", kept, ""},
    {"CWEI", 99.0F, "  99.000    ", 0.0F, "  0.0000    "},
    {"CSTA", 99.0F, "  99", 0.0F, "   0"},
    {"CWIT", 99.0F, "  99", kept, ""},
    {"WREF", 1.0F, "  1.0000    ", kept, ""},
    {"WMIN", 1e-30F, " 0.10000E-29", kept, ""},
    {"WMAX", 1e30F, " 0.10000E+31", kept, ""},
    {"WNMI", 1e-30F, " 0.10000E-29", kept, ""},
    {"WNMA", 1e30F, " 0.10000E+31", kept, ""},
    {"L1AL", 0.05F, " 0.50000E-01", kept, ""},
    {"L2MO", 0.0F, "   0", kept, ""},
    {"L2NS", 3.0F, "   3", kept, ""},
    {"BRDA", 2.0F, "   2", kept, ""},
};

struct TextKey {
  std::string_view key;
  std::size_t slotLength;
  std::string_view load;        ///< the slot's text
  std::string_view loadAnswer;  ///< what a query of it answers
  std::optional<std::string_view> reset;
  std::string_view resetAnswer;
  std::optional<float> loadCode;  ///< choices: the number a query answers
  float resetCode;
};

inline constexpr TextKey textKeys[] = {
    {"FLOG", 256, "Vorin", "Vorin", "Vorin", "Vorin", kept, 0.0F},
    {"VERS", 16, "Vorin10.56", "Vorin10.56", kept, "", kept, 0.0F},
    {"PRAV", 16, "DATA", "DATA", kept, "", kept, 0.0F},
    {"PRMO", 16, "LOG", "LOG", "A", "NONE", 1.0F, 0.0F},
    {"NALG", 16, "U", "URF", "URF", "URF", 1.0F, 1.0F},
    {"TARG", 16, "NOISE", "NOISE", kept, "", 1.0F, 1.0F},
};

inline constexpr std::string_view readOnlyKeys[] = {"VERN", "VERS"};

}  // namespace expected
