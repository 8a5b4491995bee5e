/* A host in C, linked with the library: inverts a computed decay and prints the distribution.
 *
 *   MinGW       gcc -I../include vorin.c ../lib/libVorin01056.dll.a -o example.exe
 *   Visual C++  cl /I..\include vorin.c ..\lib\Vorin01056.lib
 */
#include "vorin.h"

#include <math.h>
#include <stdio.h>

enum { NF = 100, NG = 20 };

static void setNumber(const char* key, float value) {
  int32_t status = 0;
  VorinSQR("S", key, &value, &status); /* a key has four characters, blanks included */
}

int main(void) {
  static float K[NF * NG]; /* column-major: sample i of grid time j is K[i + j * NF] */
  static float Y[NF], F[NG];
  float weight = 0.0f;
  int32_t status = -1, queried = -1;
  int i, j;
  for (j = 0; j < NG; ++j) {
    const double time = 2.0 * pow(1.4, j); /* ms */
    for (i = 0; i < NF; ++i) {
      K[i + j * NF] = (float)exp(-(i + 1.0) / time);
    }
  }
  for (i = 0; i < NF; ++i) { /* half decays with the grid time 5, half with 15 */
    Y[i] = 0.5f * K[i + 5 * NF] + 0.5f * K[i + 15 * NF];
  }
  setNumber("SIG ", 0.001f); /* the noise, in the unit of Y */
  Vorin_s(NF, NG, K, Y, F, &status);
  VorinSQR("Q", "CWEI", &weight, &queried);
  printf("status %d, weight %.3e\n", (int)status, (double)weight);
  for (j = 0; j < NG; ++j) {
    printf("%8.2f ms %8.4f\n", 2.0 * pow(1.4, j), (double)F[j]);
  }
  return status == VORIN_OK ? 0 : 1;
}
