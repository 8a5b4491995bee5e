/* How long the default path takes: duration LIBRARY inverts a computed decay of 1000 samples on 100
 * grid times, and prints the milliseconds of processor time of a call, with the log and without.
 * script/windows runs it on Windows and on the machine it is built on; nothing is tested by it. */
#include <math.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>

#if defined(_WIN32)
#include <windows.h>
#define CALL __stdcall

static double milliseconds(void) { /* clock() is that of the wall here */
  FILETIME begin, end, system, user;
  GetProcessTimes(GetCurrentProcess(), &begin, &end, &system, &user);
  return 1e-4 * ((double)system.dwLowDateTime + (double)user.dwLowDateTime);
}

static int functionOf(const char* library, const char* name, void* function) {
  const HMODULE handle = LoadLibraryA(library);
  const FARPROC address = handle == NULL ? NULL : GetProcAddress(handle, name);
  memcpy(function, &address, sizeof address);
  return address != NULL;
}
#else
#include <dlfcn.h>
#include <time.h>
#define CALL

static double milliseconds(void) {
  return 1e3 * (double)clock() / CLOCKS_PER_SEC;
}

static int functionOf(const char* library, const char* name, void* function) {
  void* const handle = dlopen(library, RTLD_NOW);
  void* const address = handle == NULL ? NULL : dlsym(handle, name);
  memcpy(function, &address, sizeof address);
  return address != NULL;
}
#endif

enum { NF = 1000, NG = 100, CALLS = 500 };

typedef void(CALL* Set)(const char*, const char*, float*, int32_t*);
typedef void(CALL* Invert)(int32_t, int32_t, const float*, const float*, float*, int32_t*);

static float K[NF * NG], Y[NF], F[NG];
static float noise = 0.001f;

/* Two components, and a fixed pattern for the noise. */
static void computeDecay(void) {
  int i, j;
  for (j = 0; j < NG; ++j) { /* from 1 ms to 10 s, samples from 1 ms to 1 s */
    for (i = 0; i < NF; ++i) {
      K[i + j * NF] = (float)exp(-(i + 1.0) / pow(10.0, 4.0 * j / (NG - 1)));
    }
  }
  for (i = 0; i < NF; ++i) {
    Y[i] = 0.4f * K[i + 35 * NF] + 0.6f * K[i + 60 * NF] +
           noise * (float)((i * 7919) % 199 - 99) / 57.0f;
  }
}

static double durationOf(Invert invert) {
  const double begin = milliseconds();
  int call;
  for (call = 0; call < CALLS; ++call) {
    int32_t status = -1;
    invert(NF, NG, K, Y, F, &status);
    if (status != 0) {
      return -1.0;
    }
  }
  return (milliseconds() - begin) / CALLS;
}

int main(int argc, char** argv) {
  Set set;
  Invert invert;
  float silent = 0.0f;
  double logged;
  int32_t status = 0;
  if (argc != 2 || !functionOf(argv[1], "VorinSQR", &set) ||
      !functionOf(argv[1], "Vorin_s", &invert)) {
    return 1;
  }
  computeDecay();
  set("S", "SIG ", &noise, &status);
  logged = durationOf(invert);
  set("S", "REPO", &silent, &status);
  printf("%.2f %.2f\n", logged, durationOf(invert));
  return 0;
}
