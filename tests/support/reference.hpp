// The reference implementation as tests call it: the module vorin_reference, loaded beside
// the library. It has a parameter block of its own.
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "params/store.hpp"
#include "support/loaded_module.hpp"
#include "support/reference/literal_calls.hpp"
#include "support/store.hpp"
#include "vorin.h"

namespace vorin::test {

class Reference {
 public:
  /// The one copy of a test program.
  static const Reference& instance() {
    static const Reference loaded;
    return loaded;
  }

  /// Its function `name`, of the type of the library's function of that name.
  template <class Function>
  Function* find(const char* name) const {
    void* const address = addressIn(module_, name);
    if (address == nullptr) {
      std::fprintf(stderr, "%s has no %s\n", VORIN_REFERENCE_LIBRARY, name);
      std::abort();
    }
    Function* function = nullptr;
    std::memcpy(&function, &address, sizeof function);
    return function;
  }

  /// Takes over the library's settings, those of `loadSettings` included.
  void takeSettings() const {
    float unused = 0.0f;
    std::int32_t ignored = 0;
    find<decltype(VorinSQR)>("VorinSQR")("I", "    ", &unused, &ignored);
    for (const char* key : numbers) {
      float value = vorin::test::getNumber(key);
      find<decltype(VorinSQR)>("VorinSQR")("S", paddedKey(key).c_str(), &value, &ignored);
    }
    for (const char* key : texts) {
      // As it is stored: a query answers the reset texts of PRMO and NALG by a choice. The
      // block of the reference holds these already, and would store a choice in their place.
      std::string text(params::storedText(key));
      if (text.starts_with("A ") || text.starts_with("URF ")) {
        continue;
      }
      const auto length = static_cast<std::int32_t>(text.size());
      find<decltype(VorinSQC)>("VorinSQC")("S", paddedKey(key).c_str(), text.data(), &length,
                                           &ignored);
    }
  }

  float getNumber(const std::string& key) const {
    float value = -12345.0f;
    std::int32_t ignored = 0;
    find<decltype(VorinSQR)>("VorinSQR")("Q", paddedKey(key).c_str(), &value, &ignored);
    return value;
  }

 private:
  static constexpr const char* numbers[] = {"BRDA", "CSI2", "L1AL", "L2MO", "L2NS", "MAXI", "PRHI",
                                            "PRLO", "PRPO", "REPO", "RSIG", "RWEI", "SAVE", "SIG",
                                            "STOL", "SVDN", "SVDT", "TOL",  "WEIG", "WFRA", "WITE",
                                            "WMAX", "WMIN", "WNMA", "WNMI", "WRAT", "WREF", "WTOL"};
  static constexpr const char* texts[] = {"FLOG", "NALG", "PRMO", "TARG"};

  Reference() : module_(loadModule(VORIN_REFERENCE_LIBRARY)) {
    if (module_ == nullptr) {
      std::fprintf(stderr, "%s can't be loaded\n", VORIN_REFERENCE_LIBRARY);
      std::abort();
    }
  }

  void* module_;
};

}  // namespace vorin::test
