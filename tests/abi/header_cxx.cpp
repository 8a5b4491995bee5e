// The header alone, as C++: nothing else may be needed before it.
#include "vorin.h"

int main() {
  return VORIN_OK;
}
