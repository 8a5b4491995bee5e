/* A host in plain C99: loads the library by name, as a program does that was not
 * linked with it, sets keys, inverts, queries. It has a function `sum` of its own,
 * which must not take the place of the library's.
 *
 * Prints nothing and exits with 0 when all is well; else a line that says what. */
#define _POSIX_C_SOURCE 200809L
#include <dirent.h>
#include <dlfcn.h>
#include <math.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "vorin.h"

enum { NF = 64, NG = 16 };

int32_t sum(int32_t a, int32_t b) VORIN_NOEXCEPT {
  return a * 1000 + b;
}

static void* library;

/* POSIX gives functions and data addresses the same shape; C99 has no cast for it. */
static void find(const char* name, void* function) {
  void* address = dlsym(library, name);
  if (address == NULL) {
    printf("no function %s\n", name);
    exit(1);
  }
  memcpy(function, &address, sizeof address);
}

static void expect(int condition, const char* what) {
  if (!condition) {
    printf("failed: %s\n", what);
    exit(1);
  }
}

static int threads(void) {
  int count = 0;
  DIR* folder = opendir("/proc/self/task");
  struct dirent* entry;
  if (folder == NULL) {
    return 1;
  }
  while ((entry = readdir(folder)) != NULL) {
    count += entry->d_name[0] != '.';
  }
  closedir(folder);
  return count;
}

int main(int argc, char** argv) {
  int32_t (*librarySum)(int32_t, int32_t);
  int32_t (*fadd)(int32_t, int32_t);
  void (*saddDouble)(const double*, const double*, double*);
  void (*setNumber)(const char*, const char*, float*, int32_t*);
  void (*setText)(const char*, const char*, char*, const int32_t*, int32_t*);
  void (*invert)(int32_t, int32_t, const float*, const float*, float*, int32_t*);
  static float K[NF * NG];
  static float Y[NF];
  float F[NG] = {0};
  float value = 0.01f;
  int32_t length = 4;
  int32_t status = -1;
  double a = 1.5, b = 2.25, c = 0.0;
  int i, j;
  const int threadsBefore = threads(); /* an emulator has one of its own */
  char text[] = "WEIG";

  expect(argc == 2, "one argument, the library");
  library = dlopen(argv[1], RTLD_NOW);
  if (library == NULL) {
    printf("%s\n", dlerror());
    return 1;
  }
  find("sum", &librarySum);
  find("fadd_dp_dll", &fadd);
  find("sadd_dp_dll", &saddDouble);
  find("VorinSQR", &setNumber);
  find("VorinSQC", &setText);
  find("Vorin_s", &invert);

  expect(sum(2, 3) == 2003, "the host's own sum");
  expect(librarySum(2, 3) == 5, "the library's sum");
  expect(fadd(-7, 3) == -4, "fadd_dp_dll adds integers");
  saddDouble(&a, &b, &c);
  expect(c == 3.75, "sadd_dp_dll adds doubles");

  setText("S", "TARG", text, &length, &status);
  expect(status == VORIN_SQ_OK, "setting TARG");
  setNumber("S", "WEIG", &value, &status);
  for (j = 0; j < NG; ++j) {
    for (i = 0; i < NF; ++i) {
      K[i + j * NF] = (float)exp(-(i + 1.0) / pow(2.0, 0.5 * j));
    }
  }
  for (i = 0; i < NF; ++i) {
    Y[i] = 3.0f * K[i + 8 * NF];
  }
  invert(NF, NG, K, Y, F, &status);
  expect(status == VORIN_OK, "status of the inversion");
  setNumber("Q", "CWEI", &value, &status);
  expect(value == 0.01f, "CWEI is the weight given");
  for (j = 0; j < NG; ++j) {
    expect(F[j] >= 0.0f, "a distribution without negative values");
  }
  expect(threads() == threadsBefore, "no thread was started");
  dlclose(library);
  return 0;
}
