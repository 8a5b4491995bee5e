// Picks the kernels' instruction-set level, once, from what the CPU reports.
#include "toolbox/kernels/kernels.hpp"
#include "toolbox/kernels/levels.hpp"

namespace vorin::kernels {
namespace {

struct Chosen {
  Level level;
  Table<float> single;
  Table<double> inDouble;
};

Chosen choose([[maybe_unused]] Level level) {
#if defined(VORIN_HAVE_X86_LEVELS)
  if (level == Level::avx512) {
    return {level, avx512::tableFloat(), avx512::tableDouble()};
  }
  if (level == Level::avx2) {
    return {level, avx2::tableFloat(), avx2::tableDouble()};
  }
#endif
  return {Level::baseline, baseline::tableFloat(), baseline::tableDouble()};
}

Chosen& chosen() {
  static Chosen tables = choose(highestLevel());
  return tables;
}

}  // namespace

Level highestLevel() {
#if defined(VORIN_HAVE_X86_LEVELS)
  __builtin_cpu_init();
  if (__builtin_cpu_supports("avx512f")) {
    return Level::avx512;
  }
  if (__builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma")) {
    return Level::avx2;
  }
#endif
  return Level::baseline;
}

Level currentLevel() {
  return chosen().level;
}

void useLevel(Level level) {
  const Level highest = highestLevel();
  chosen() = choose(level < highest ? level : highest);
}

template <>
const Table<float>& table<float>() {
  return chosen().single;
}

template <>
const Table<double>& table<double>() {
  return chosen().inDouble;
}

}  // namespace vorin::kernels
