// Whole inversions through every entry, with any settings, one after another in one process:
// the store, the log, the save section and the work arrays that drivers keep are those the
// inversions before left.
#include <vorin.h>

#include <string>

#include "bytes.hpp"
#include "own_folder.hpp"

namespace {

using vorin::fuzz::area;
using vorin::fuzz::Bytes;
using vorin::fuzz::Exact;
using vorin::fuzz::room;

void set(const char* key, float value) {
  std::int32_t ignored = 0;
  VorinSQR("S", key, &value, &ignored);
}

void set(const char* key, std::string text) {
  const auto length = static_cast<std::int32_t>(text.size());
  std::int32_t ignored = 0;
  VorinSQC("S", key, text.data(), &length, &ignored);
}

// Keys that take any number. Not among them: the limits of passes and iterations, with which
// a host may ask for any amount of work, and PRPO, with which the second compressed driver,
// which sets it no limit, may be asked for any amount of memory.
constexpr const char* numbers[] = {"REPO", "SAVE", "SAVF", "PRLO", "PRHI", "SVDT", "SVDN", "L2MO",
                                   "L2NS", "BRDA", "TOL ", "SIG ", "RSIG", "L1AL", "WEIG", "WTOL",
                                   "STOL", "WRAT", "WFRA", "RWEI", "WREF", "WMIN", "WMAX", "WNMI",
                                   "WNMA", "CSI2", "PRMO", "NALG", "TARG"};
constexpr int numberCount = sizeof numbers / sizeof numbers[0];

void settings(Bytes& bytes) {
  static constexpr const char* prunings[] = {"LOG", "LIN", "LILO", "NONE", "A"};
  static constexpr const char* noises[] = {"U", "UREG", "FIT", "ASYM", "ASY2", "REG", "D2", "D3"};
  static constexpr const char* targets[] = {"NOISE", "WEIG", "2"};
  static constexpr const char* logs[] = {"Vorin", "NONE", "A.B", "/", "", "MISSING/X", " "};
  float unused = 0.0F;
  std::int32_t ignored = 0;
  VorinSQR("I", "    ", &unused, &ignored);
  set("REPO", static_cast<float>(bytes.within(0, 6)));
  set("SAVE", static_cast<float>(bytes.within(0, 2)));
  set("BRDA", static_cast<float>(bytes.within(0, 4)));
  set("SVDN", static_cast<float>(bytes.within(-1, 12)));
  set("SVDT", 1e-4F);
  set("L2MO", static_cast<float>(bytes.within(0, 2)));
  set("PRPO", static_cast<float>(bytes.within(0, 70)));
  set("MAXI", static_cast<float>(bytes.within(-1, 30)));
  set("WITE", static_cast<float>(bytes.within(-1, 8)));
  set("PRMO", std::string(prunings[bytes.byte() % 5]));
  set("NALG", std::string(noises[bytes.byte() % 8]));
  set("TARG", std::string(targets[bytes.byte() % 3]));
  set("FLOG", std::string(logs[bytes.byte() % 7]));
  for (int left = bytes.byte() % 8; left > 0; --left) {
    const char* const key = numbers[bytes.within(0, numberCount - 1)];
    set(key, bytes.single());
  }
}

template <class Real>
struct Problem {
  Problem(Bytes& bytes, int nf, int ng) : K(area(nf, ng)), Y(room(nf)), F(room(ng)) {
    bytes.fill(K);
    bytes.fill(Y);
    bytes.fill(F);
  }
  Exact<Real> K, Y, F;
};

std::int32_t invert(Bytes& bytes) {
  using Short =
      void (*)(std::int32_t, std::int32_t, const float*, const float*, float*, std::int32_t*);
  static constexpr Short shortForms[] = {Vorin_s,   vorin_s_cdecl, VorinC_s,
                                         VorinC2_s, VorinC4_s,     VorinC5_s};
  static constexpr decltype(&Voriny_s) longForms[] = {Voriny_s,   VorinyC_s,  VorinyC2_s,
                                                      VorinyC3_s, VorinyC4_s, VorinyC5_s};
  const std::uint8_t which = bytes.byte() % 13;
  const std::int32_t nf = bytes.size();
  const std::int32_t ng = bytes.size(24);
  std::int32_t status = -77;
  if (which == 12) {
    Problem<double> p(bytes, nf, ng);
    Vorin_d(nf, ng, p.K.data(), p.Y.data(), p.F.data(), &status);
  } else if (which < 6) {
    Problem<float> p(bytes, nf, ng);
    shortForms[which](nf, ng, p.K.data(), p.Y.data(), p.F.data(), &status);
  } else {
    Problem<float> p(bytes, nf, ng);
    Exact<float> T(room(nf)), W(room(nf)), G(room(ng)), FIT(room(nf));
    bytes.rising(T);
    bytes.fill(G);
    longForms[which - 6](nf, ng, &nf, &ng, p.K.data(), T.data(), p.Y.data(), W.data(), G.data(),
                         p.F.data(), FIT.data(), &status);
  }
  return status;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const vorin::fuzz::OwnFolder folder;
  Bytes bytes(data, size);
  for (int calls = 1 + bytes.byte() % 3; calls > 0; --calls) {
    settings(bytes);
    vorin::fuzz::require(invert(bytes) >= 0);
  }
  return 0;
}
