#include "toolkit/vorin_toolkit.h"

const char* vorin_toolkit_version(void) {
  return VORIN_TOOLKIT_BUILD_VERSION;
}
