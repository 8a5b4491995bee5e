#include "roads.hpp"

#include "vorin.h"

namespace vorin::bench {
namespace {

constexpr Road theRoads[] = {
    {"noise", Vorin_s, "LOG", "NOISE", 0.0f},
    {"unpruned", Vorin_s, "NONE", "NOISE", 0.0f},
    {"C5-pruned", VorinC5_s, "LOG", "NOISE", 20.0f},
    {"C5-whole", VorinC5_s, "NONE", "NOISE", 20.0f},
    {"fixed", Vorin_s, "LOG", "WEIG", 0.0f},
    {"corner", Vorin_s, "LOG", "2", 0.0f},
};

void setNumber(const char* key, float value) {
  std::int32_t status = 0;
  VorinSQR("S", key, &value, &status);
}

void setText(const char* key, std::string text) {
  std::int32_t status = 0;
  const auto length = static_cast<std::int32_t>(text.size());
  VorinSQC("S", key, text.data(), &length, &status);
}

}  // namespace

const Road* findRoad(std::string_view name) {
  for (const Road& road : theRoads) {
    if (road.name == name) {
      return &road;
    }
  }
  return nullptr;
}

std::string roadNames() {
  std::string names;
  for (const Road& road : theRoads) {
    names += ' ';
    names += road.name;
  }
  return names;
}

// TOL as `vorin invert` has it: the load value can end a solve at a large weight before
// its distribution stands, and then it is not the same problem that is solved.
void setRoad(const Road& road, double snr) {
  setText("PRMO", road.pruning);
  setText("TARG", road.target);
  setNumber("SIG ", static_cast<float>(1.0 / snr));
  setNumber("WEIG", std::string_view(road.target) == "WEIG" ? 0.1f : 0.01f);
  setNumber("SVDN", road.singularVectors);
  setNumber("SVDT", 1e-6f);
  setNumber("TOL ", 1e-12f);
}

}  // namespace vorin::bench
