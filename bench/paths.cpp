#include "paths.hpp"

#include "vorin.h"

namespace vorin::bench {
namespace {

constexpr Path paths[] = {
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

const Path* findPath(std::string_view name) {
  for (const Path& path : paths) {
    if (path.name == name) {
      return &path;
    }
  }
  return nullptr;
}

std::string pathNames() {
  std::string names;
  for (const Path& path : paths) {
    names += ' ';
    names += path.name;
  }
  return names;
}

// TOL as `vorin invert` has it: with the load value a solve at a large weight can end
// before it has converged, so that scipy would solve another problem.
void setPath(const Path& path, double snr) {
  setText("PRMO", path.pruning);
  setText("TARG", path.target);
  setNumber("SIG ", static_cast<float>(1.0 / snr));
  setNumber("WEIG", std::string_view(path.target) == "WEIG" ? 0.1f : 0.01f);
  setNumber("SVDN", path.singularVectors);
  setNumber("SVDT", 1e-6f);
  setNumber("TOL ", 1e-12f);
}

}  // namespace vorin::bench
