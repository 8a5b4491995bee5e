/* Inverts a decay by every family of the library's functions and prints a line for each: its
 * status, the sum of the distribution and a check sum of all bits of what came out. Platforms are
 * compared by these lines, so the data are made without a function of the C library: every
 * operation here is rounded as IEEE 754 says.
 *
 *   bits DECAY [REPEATS]   DECAY: a table with a line of names, then time,amplitude. With REPEATS
 *                          the shortest times of inversions as well, last. */
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>

#if defined(__EMSCRIPTEN__)
#include <emscripten.h> /* its clock() counts in steps of some milliseconds */
#endif

#include "vorin.h"

enum { SAMPLES = 1000, POINTS = 60, KEPT = 20 };

static double inDouble[SAMPLES * POINTS];
static float K[SAMPLES * POINTS];
static float Y[SAMPLES];
static double wideY[SAMPLES];

static void setNumber(const char* key, float value) {
  int32_t status = 0;
  VorinSQR("S", key, &value, &status);
}

static void setText(const char* key, const char* text) {
  char copy[16];
  int32_t status = 0;
  const int32_t length = (int32_t)strlen(text);
  memcpy(copy, text, (size_t)length);
  VorinSQC("S", key, copy, &length, &status);
}

/* Columns of (1 + dt / T)^-i for times T a fixed factor apart. */
static void makeKernel(double spacing) {
  double T = spacing / 4;
  int i;
  int j;
  for (j = 0; j < POINTS; ++j) {
    const double share = T / (T + spacing);
    double value = share;
    for (i = 0; i < SAMPLES; ++i) {
      inDouble[j * SAMPLES + i] = value;
      K[j * SAMPLES + i] = (float)value;
      value *= share;
    }
    T *= 1.2;
  }
}

static double readDecay(const char* path) {
  FILE* file = fopen(path, "r");
  char line[256];
  double first = 0;
  double second = 0;
  int i;
  if (file == NULL || fgets(line, sizeof line, file) == NULL) {
    fprintf(stderr, "%s: no decay can be read\n", path);
    exit(1);
  }
  for (i = 0; i < SAMPLES && fgets(line, sizeof line, file) != NULL; ++i) {
    char* end;
    second = i == 1 ? strtod(line, &end) : (strtod(line, &end), second);
    first = i == 0 ? strtod(line, &end) : first;
    wideY[i] = strtod(strchr(line, ',') + 1, &end);
    Y[i] = (float)wideY[i];
  }
  fclose(file);
  return second - first;
}

static uint32_t checkSum(uint32_t sum, const void* bytes, size_t size) {
  /* Fowler, Noll and Vo, 32 bits */
  const unsigned char* at = bytes;
  while (size-- > 0) {
    sum = (sum ^ *at++) * 16777619U;
  }
  return sum;
}

static void tell(const char* name, int32_t status, const float* F, const float* values, int count) {
  double total = 0;
  uint32_t sum = 2166136261U;
  int i;
  for (i = 0; i < POINTS; ++i) {
    total += (double)F[i];
  }
  sum = checkSum(sum, F, POINTS * sizeof *F);
  sum = checkSum(sum, values, (size_t)count * sizeof *values);
  printf("%-12s %4d %.9g %08x\n", name, (int)status, total, (unsigned)sum);
}

/* The results that the store keeps of the last inversion. */
static void tellInversion(const char* name, int32_t status, const float* F) {
  static const char* const keys[] = {"CWEI", "CWIT", "CITE", "CSIG", "DSE ", "CSE "};
  float values[6];
  int32_t ignored = 0;
  int k;
  for (k = 0; k < 6; ++k) {
    values[k] = 0;
    VorinSQR("Q", keys[k], &values[k], &ignored);
  }
  tell(name, status, F, values, 6);
}

typedef void(VORIN_CALL* Inversion)(int32_t, int32_t, const float*, const float*, float*, int32_t*);

static void run(const char* name, Inversion inversion) {
  float F[POINTS] = {0};
  int32_t status = -1;
  inversion(SAMPLES, POINTS, K, Y, F, &status);
  tellInversion(name, status, F);
}

static void runInDouble(void) {
  double wide[POINTS] = {0};
  float F[POINTS];
  int32_t status = -1;
  int i;
  Vorin_d(SAMPLES, POINTS, inDouble, wideY, wide, &status);
  for (i = 0; i < POINTS; ++i) {
    F[i] = (float)wide[i];
  }
  tellInversion("double", status, F);
}

static void runSolves(void) {
  static const float routes[] = {1, 2, 3};
  static const char* const names[] = {"solve single", "solve double", "solve qp"};
  int route;
  for (route = 0; route < 3; ++route) {
    float F[POINTS] = {0};
    float sums[2] = {0};
    const float weight = 1;
    int32_t status = -1;
    setNumber("BRDA", routes[route]);
    vrBRDw_sp_dll(200, POINTS, K, Y, F, &weight, &sums[0], &sums[1], &status);
    tell(names[route], status, F, sums, 2);
  }
  setNumber("BRDA", 2);
}

static void runCompression(void) {
  static float Kc[POINTS * POINTS];
  float F[POINTS] = {0};
  float dc[POINTS] = {0};
  int32_t status = -1;
  int32_t count = 0;
  VorinCompSVD_s(SAMPLES, POINTS, SAMPLES, POINTS, K, Y, 1e-6F, KEPT, &count, Kc, dc, &status);
  memcpy(F, dc, sizeof F);
  tell("compression", status, F, Kc, POINTS * POINTS);
}

static double milliseconds(void) {
#if defined(__EMSCRIPTEN__)
  return emscripten_get_now();
#else
  return (double)clock() * 1000.0 / CLOCKS_PER_SEC;
#endif
}

/* The shortest of `repeats` times, in milliseconds. */
static void runTimed(const char* name, Inversion inversion, int repeats) {
  double least = 1e9;
  for (; repeats > 0; --repeats) {
    float F[POINTS] = {0};
    int32_t status = -1;
    const double start = milliseconds();
    double took;
    inversion(SAMPLES, POINTS, K, Y, F, &status);
    took = milliseconds() - start;
    least = took < least ? took : least;
  }
  printf("milliseconds %s %.3f\n", name, least);
}

int main(int argc, char** argv) {
  if (argc < 2) {
    return 2;
  }
  setNumber("REPO", 0);
  makeKernel(readDecay(argv[1]));
  setText("NALG", "UREG");
  run("default", Vorin_s);
  runInDouble();
  setText("PRMO", "NONE");
  run("unpruned", Vorin_s);
  setText("PRMO", "LOG");
  setText("NALG", "REG");
  run("noise", Vorin_s);
  setText("NALG", "UREG");
  setText("TARG", "2");
  run("corner", Vorin_s);
  setText("TARG", "WEIG");
  setNumber("WEIG", 0.5F);
  run("fixed", Vorin_s);
  setText("TARG", "NOISE");
  runSolves();
  setNumber("SVDT", 1e-6F);
  setNumber("SVDN", KEPT);
  run("C", VorinC_s);
  run("C5", VorinC5_s);
  setNumber("BRDA", 1);
  run("C5 single", VorinC5_s);
  setNumber("BRDA", 2);
  runCompression();
  if (argc > 2) {
    runTimed("C5", VorinC5_s, atoi(argv[2]));
    setNumber("SVDT", 999);
    setNumber("SVDN", 0);
    runTimed("default", Vorin_s, atoi(argv[2]));
  }
  return 0;
}
