// The parameter store under any sequence of operations, keys, texts and numbers.
#include <vorin.h>

#include <algorithm>
#include <cstring>
#include <string>

#include "bytes.hpp"

namespace {

using vorin::fuzz::Bytes;
using vorin::fuzz::Exact;

constexpr const char* keys[] = {
    "REPO", "VERN", "VERS", "SAVE", "SAVF", "FLOG", "PRAV", "PRMO", "PRLO", "PRHI", "PRPO", "SVDT",
    "SVDN", "L2MO", "L2NS", "BRDA", "TOL ", "MAXI", "NALG", "SIG ", "RSIG", "L1AL", "TARG", "WEIG",
    "WITE", "WTOL", "STOL", "WRAT", "WFRA", "RWEI", "WREF", "WMIN", "WMAX", "WNMI", "WNMA", "CSTA",
    "CWEI", "CWIT", "CITE", "CSIG", "CSI2", "DSE ", "CSE ", "CSE2", "EWIT", "C1  ", "C2  "};
constexpr int keyCount = sizeof keys / sizeof keys[0];

void key(Bytes& bytes, Exact<char>& result) {
  if (bytes.byte() < 220) {
    std::memcpy(result.data(), keys[bytes.within(0, keyCount - 1)], 4);
  } else {
    const std::string any = bytes.text(4);
    std::memset(result.data(), ' ', 4);
    std::memcpy(result.data(), any.data(), any.size());
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Bytes bytes(data, size);
  while (!bytes.empty()) {
    Exact<char> mode(1);
    mode[0] = bytes.byte() < 230 ? "SQIsqi"[bytes.byte() % 6] : static_cast<char>(bytes.byte());
    Exact<char> name(4);
    key(bytes, name);
    const std::string content = bytes.text(300);
    Exact<char> text(content.size());
    std::memcpy(text.data(), content.data(), content.size());
    Exact<char> text32(VORIN_SQC2_TEXT_LENGTH);
    std::memcpy(text32.data(), content.data(), std::min(content.size(), text32.size()));
    // A length of 0 or below means no text, whatever is there.
    const std::int32_t length =
        bytes.byte() < 16 ? -bytes.within(0, 3) : static_cast<std::int32_t>(content.size());
    float value = bytes.single();
    std::int32_t whole = bytes.integer();
    std::int32_t status = -77;
    switch (bytes.byte() % 9) {
      case 0:
        vorinSQC99(mode.data(), name.data(), text.data(), &length, &value, &status);
        break;
      case 1:
        VorinSQR(mode.data(), name.data(), &value, &status);
        break;
      case 2:
        VorinSQR_s(mode.data(), name.data(), &value, &status);
        break;
      case 3:
        VorinSQR_d(mode.data(), name.data(), &value, &status);
        break;
      case 4:
        VorinSQI(mode.data(), name.data(), &whole, &status);
        break;
      case 5:
        VorinSQC(mode.data(), name.data(), text.data(), &length, &status);
        break;
      case 6:
        VorinSQC2(mode.data(), name.data(), text32.data(), &status);
        break;
      case 7:
        vorin_sqc_cdecl(mode.data(), name.data(), text.data(), &length, &status);
        break;
      default:
        vorin_sqr_cdecl(mode.data(), name.data(), &value, &status);
        break;
    }
    vorin::fuzz::require(status == VORIN_SQ_OK || status == VORIN_SQ_UNKNOWN_MODE);
  }
  return 0;
}
