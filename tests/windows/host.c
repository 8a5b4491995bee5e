/* A host in plain C99 that loads the library by name, finds every export of the table under each
 * of its names, calls each, and prints the numbers that come back or compares them with those of
 * another machine. One source for Windows of both sizes and for POSIX systems, whose numbers are
 * the measure.
 *
 *   host LIBRARY TABLE             prints "name index value" for each number
 *   host LIBRARY TABLE NUMBERS     compares with such a list, and says how far it is off
 *
 * Exit status 0 when all is well; else a line says what is not.
 *
 * On Windows of 32 bit each call is made by invoke32.S, on a stack that is aligned to 4 bytes only,
 * and it is checked that a __stdcall function has taken its arguments off the stack, the bytes of
 * the table, and a __cdecl function none. */
#include <math.h>
#include <stdarg.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#ifdef _WIN32
#include <windows.h>
#else
#include <dlfcn.h>
#endif

enum { NF = 64, NG = 16, BINS = 24, MOST_EXPORTS = 64, MOST_NUMBERS = 8192, MOST_ARGUMENTS = 20 };

static void fail(const char* what, const char* name) {
  printf("host: %s: %s\n", name, what);
  exit(1);
}

/* ---- the exports ---- */

typedef struct {
  char name[40];
  int bytes;
  int stdcall;
  int decorated;
  void* address;
} Export;

static Export exports[MOST_EXPORTS];
static int exportCount;
static void* library;

static void* addressOf(const char* name) {
#ifdef _WIN32
  void* address = NULL;
  const FARPROC found = GetProcAddress((HMODULE)library, name);
  memcpy(&address, &found, sizeof address); /* a function's address as that of data */
  return address;
#else
  return dlsym(library, name);
#endif
}

static void loadLibrary(const char* file) {
#ifdef _WIN32
  library = (void*)LoadLibraryA(file);
#else
  library = dlopen(file, RTLD_NOW);
#endif
  if (library == NULL) {
    fail("it can't be loaded", file);
  }
}

/* Every row of the table must be there: by its plain name, and on Windows also as _name@bytes,
 * at the same address, if the table says so. */
static void findExports(const char* table) {
  char line[200];
  char linkage[16];
  char decorated[8];
  int names = 0;
  FILE* const file = fopen(table, "r");
  if (file == NULL) {
    fail("the table can't be read", table);
  }
  while (fgets(line, sizeof line, file) != NULL) {
    Export* const row = &exports[exportCount];
    if (line[0] == '#' ||
        sscanf(line, "%39s %d %15s %7s", row->name, &row->bytes, linkage, decorated) != 4) {
      continue;
    }
    row->stdcall = strcmp(linkage, "stdcall") == 0;
    row->decorated = strcmp(decorated, "yes") == 0;
    row->address = addressOf(row->name);
    if (row->address == NULL) {
      fail("no such export", row->name);
    }
    ++names;
#ifdef _WIN32
    {
      char other[60];
      void* address;
      snprintf(other, sizeof other, "_%s@%d", row->name, row->bytes);
      address = addressOf(other);
      if (address != (row->decorated ? row->address : NULL)) {
        fail(row->decorated ? "not the function of the plain name" : "exported against the table",
             other);
      }
      names += row->decorated;
    }
#endif
    if (++exportCount == MOST_EXPORTS) {
      fail("too many rows", table);
    }
  }
  fclose(file);
  fprintf(stderr, "host: %d functions under %d names\n", exportCount, names);
}

/* ---- calls ---- */

static int shift; /* bytes by which the stack is off 16 in calls on 32 bit */
static float returned;
static int called[MOST_EXPORTS];

#if defined(_WIN32) && !defined(_WIN64)
/* Calls `function` with `words` words on a stack that is `shift` bytes off a multiple of 16. Sets
 * `popped` to the bytes that the function has taken off the stack, and `real`, unless it is null,
 * to the floating-point number that it returned. */
int32_t invoke32(void* function, const uint32_t* arguments, int words, int shift, int* popped,
                 float* real);
#endif

/* Calls the export `name`. `kinds` has a letter for each argument: i an integer, p an address, r a
 * number in single precision; behind a colon "r" where such a number is returned. */
static int32_t call(const char* name, const char* kinds, ...) {
  uintptr_t words[MOST_ARGUMENTS] = {0};
  float real = 0.0f;
  int count = 0;
  int returnsReal = 0;
  int which = 0;
  int32_t result = 0;
  va_list arguments;
  while (which < exportCount && strcmp(exports[which].name, name) != 0) {
    ++which;
  }
  if (which == exportCount) {
    fail("not in the table", name);
  }
  called[which] = 1;
  va_start(arguments, kinds);
  for (; *kinds != '\0' && *kinds != ':'; ++kinds) {
    if (*kinds == 'p') {
      words[count++] = (uintptr_t)va_arg(arguments, void*);
    } else if (*kinds == 'i') {
      words[count++] = (uintptr_t)(intptr_t)va_arg(arguments, int);
    } else {
      real = (float)va_arg(arguments, double);
#ifdef _WIN32 /* behind the fourth argument it is a word of the stack like any other */
      memcpy(&words[count++], &real, sizeof real);
#endif
    }
  }
  va_end(arguments);
  returnsReal = *kinds == ':';
#if defined(_WIN32) && !defined(_WIN64)
  {
    int popped = -1;
    result = invoke32(exports[which].address, (const uint32_t*)words, count, shift, &popped,
                      returnsReal ? &returned : NULL);
    if (4 * count != exports[which].bytes) {
      fail("the table has another size of its arguments", name);
    }
    if (popped != (exports[which].stdcall ? exports[which].bytes : 0)) {
      fail("it did not leave the stack as its linkage says", name);
    }
  }
#else
  {
    const uintptr_t* const w = words;
    /* The caller removes the arguments: those that the function does not have are harmless. In the
     * calling convention of other systems the number has a register of its own, and does not count
     * among the words. */
    typedef int32_t (*Function)(uintptr_t, uintptr_t, uintptr_t, uintptr_t, uintptr_t, uintptr_t,
                                uintptr_t, uintptr_t, uintptr_t, uintptr_t, uintptr_t, uintptr_t,
                                uintptr_t, uintptr_t, uintptr_t, uintptr_t, uintptr_t, uintptr_t,
                                uintptr_t, float);
    typedef float (*RealFunction)(uintptr_t, uintptr_t, uintptr_t);
    Function function;
    RealFunction realFunction;
    memcpy(&function, &exports[which].address, sizeof function);
    memcpy(&realFunction, &exports[which].address, sizeof realFunction);
    if (returnsReal) {
      returned = realFunction(w[0], w[1], w[2]);
    } else {
      result = function(w[0], w[1], w[2], w[3], w[4], w[5], w[6], w[7], w[8], w[9], w[10], w[11],
                        w[12], w[13], w[14], w[15], w[16], w[17], w[18], real);
    }
  }
#endif
  return result;
}

/* ---- the numbers ---- */

typedef struct {
  char name[48];
  int index;
  double value;
} Number;

static Number numbers[MOST_NUMBERS];
static int numberCount;
static int firstPass = 1;

static void keep(const char* name, int index, double value) {
  Number* const number = &numbers[numberCount++];
  if (numberCount == MOST_NUMBERS) {
    fail("too many numbers", name);
  }
  if (firstPass) {
    snprintf(number->name, sizeof number->name, "%s", name);
    number->index = index;
    number->value = value;
  } else if (!(number->value == value)) {
    fail("another number on a stack of another alignment", name);
  }
}

static void keepSingles(const char* name, const float* values, int count) {
  for (int i = 0; i < count; ++i) {
    keep(name, i, (double)values[i]);
  }
}

static void keepDoubles(const char* name, const double* values, int count) {
  for (int i = 0; i < count; ++i) {
    keep(name, i, values[i]);
  }
}

static void keepText(const char* name, const char* text, int count) {
  for (int i = 0; i < count; ++i) {
    keep(name, i, (double)text[i]);
  }
}

/* ---- the problem ---- */

static float K[NF * NG], Y[NF], T[NF], W[NF], G[NG];
static double Kd[NF * NG], Yd[NF];

/* Decays of times 2^(j/2) on even samples, by multiplication alone, so that the arrays have the
 * same bits everywhere; the data are two components and noise of 0.01. */
static void prepare(void) {
  uint32_t state = 1;
  for (int j = 0; j < NG; ++j) {
    const double time = (j % 2 == 0 ? 1.0 : 1.4142135623730951) * (double)(1 << (j / 2));
    const double factor = (2.0 * time - 1.0) / (2.0 * time + 1.0);
    double value = 1.0;
    G[j] = (float)time;
    for (int i = 0; i < NF; ++i) {
      value *= factor;
      K[i + j * NF] = (float)value;
      Kd[i + j * NF] = (double)K[i + j * NF];
    }
  }
  for (int i = 0; i < NF; ++i) {
    state = state * 1664525u + 1013904223u;
    T[i] = (float)(i + 1);
    W[i] = 1.0f;
    Y[i] =
        3.0f * K[i + 5 * NF] + K[i + 11 * NF] + 0.02f * ((float)(state >> 8) / 16777216.0f - 0.5f);
    Yd[i] = (double)Y[i];
  }
}

static void setNumber(const char* key, float value) {
  int32_t status = -1;
  call("VorinSQR", "pppp", "S", key, &value, &status);
  if (status != 0) {
    fail("it could not be set", key);
  }
}

static float query(const char* key) {
  float value = 0.0f;
  int32_t status = -1;
  call("VorinSQR_s", "pppp", "Q", key, &value, &status);
  return value;
}

static void setText(const char* key, const char* text) {
  char copy[64];
  int32_t length = (int32_t)strlen(text);
  int32_t status = -1;
  memcpy(copy, text, (size_t)length);
  call("VorinSQC", "ppppp", "S", key, copy, &length, &status);
  if (status != 0) {
    fail("it could not be set", key);
  }
}

static void outcome(const char* name, const float* F, int32_t status) {
  char of[48];
  keepSingles(name, F, NG);
  snprintf(of, sizeof of, "%s:status", name);
  keep(of, 0, (double)status);
  snprintf(of, sizeof of, "%s:CWEI", name);
  keep(of, 0, (double)query("CWEI"));
  snprintf(of, sizeof of, "%s:CSE", name);
  keep(of, 0, (double)query("CSE "));
}

static void inversions(void) {
  static const char* const six[] = {"Vorin_s",   "vorin_s_cdecl", "VorinC_s",
                                    "VorinC2_s", "VorinC4_s",     "VorinC5_s"};
  static const char* const twelve[] = {"Voriny_s",   "VorinyC_s",  "VorinyC2_s",
                                       "VorinyC3_s", "VorinyC4_s", "VorinyC5_s"};
  const int32_t nf = NF;
  const int32_t ng = NG;
  for (int k = 0; k < 6; ++k) {
    float F[NG] = {0};
    float FIT[NF] = {0};
    int32_t status = -1;
    call(six[k], "iipppp", NF, NG, K, Y, F, &status);
    outcome(six[k], F, status);
    memset(F, 0, sizeof F);
    call(twelve[k], "iipppppppppp", NF, NG, &nf, &ng, K, T, Y, W, G, F, FIT, &status);
    outcome(twelve[k], F, status);
    keepSingles("FIT", FIT, NF);
  }
  {
    double F[NG] = {0};
    int32_t status = -1;
    call("Vorin_d", "iipppp", NF, NG, Kd, Yd, F, &status);
    keepDoubles("Vorin_d", F, NG);
    keep("Vorin_d:status", 0, (double)status);
  }
}

static void store(void) {
  char text[32];
  const int32_t length = 8;
  int32_t whole = 77;
  int32_t status = -1;
  float value = 0.0f;
  memset(text, ' ', sizeof text);
  call("vorinSQC99", "pppppp", "Q", "TARG", text, &length, &value, &status);
  keepText("vorinSQC99", text, 8);
  call("VorinSQC2", "pppp", "Q", "TARG", text, &status);
  keepText("VorinSQC2", text, 8);
  call("vorin_sqc_cdecl", "ppppp", "Q", "TARG", text, &length, &status);
  keepText("vorin_sqc_cdecl", text, 8);
  call("vorin_sqr_cdecl", "pppp", "Q", "SIG ", &value, &status);
  keep("vorin_sqr_cdecl", 0, (double)value);
  call("VorinSQR_d", "pppp", "Q", "RSIG", &value, &status);
  keep("VorinSQR_d", 0, (double)value);
  call("VorinSQI", "pppp", "Q", "MAXI", &whole, &status);
  keep("VorinSQI", 0, (double)whole);
}

static void solves(void) {
  float f[NG] = {0};
  float weight = 0.05f, rss = 0.0f, slope = 0.0f;
  double fd[NG] = {0};
  double weightd = 0.05, rssd = 0.0, sloped = 0.0;
  int32_t status = -1;
  call("vrBRDw_sp_dll", "iippppppp", NF, NG, K, Y, f, &weight, &rss, &slope, &status);
  keepSingles("vrBRDw_sp_dll", f, NG);
  keep("vrBRDw_sp_dll:rss", 0, (double)rss);
  call("vrBRDw_dp_dll", "iippppppp", NF, NG, Kd, Yd, fd, &weightd, &rssd, &sloped, &status);
  keepDoubles("vrBRDw_dp_dll", fd, NG);
  keep("vrBRDw_dp_dll:rss", 0, rssd);
  call("vorinTarget2_sp", "iippppppp", NF, NG, K, Y, f, &weight, &rss, &slope, &status);
  keepSingles("vorinTarget2_sp", f, NG);
  keep("vorinTarget2_sp:weight", 0, (double)weight);
  call("vorinTarget2_dp", "iippppppp", NF, NG, Kd, Yd, fd, &weightd, &rssd, &sloped, &status);
  keepDoubles("vorinTarget2_dp", fd, NG);
  keep("vorinTarget2_dp:weight", 0, weightd);
  call("debug2_sp", "iippppppp", NF, NG, K, Y, f, &weight, &rss, &slope, &status);
  call("debug2_dp", "iippppppp", NF, NG, Kd, Yd, fd, &weightd, &rssd, &sloped, &status);
}

static void pruning(void) {
  static float P[BINS * NF], kPruned[BINS * NG];
  float y[BINS] = {0}, t[BINS] = {0}, norm[BINS] = {0};
  int32_t count = 0, status = -1;
  call("VorinPruneZ", "iiipppiiiipppppp", NF, NF, BINS, Y, T, W, 1, -1, 16, 1, &count, y, t, norm,
       P, &status);
  keepSingles("VorinPruneZ", y, BINS);
  keep("VorinPruneZ:count", 0, (double)count);
  count = 0;
  call("VorinPrune", "iiiippppiiiippppppp", NG, NF, NF, BINS, Y, T, K, W, 1, -1, 16, 1, &count, y,
       t, kPruned, norm, P, &status);
  keepSingles("VorinPrune", kPruned, BINS);
  keep("VorinPrune:count", 0, (double)count);
  count = 0;
  call("VorinPrune2", "iiiippppiiiippppppp", NG, NF, NF, BINS, Y, T, K, W, 1, -1, 16, 1, &count, y,
       t, kPruned, norm, P, &status);
  keepSingles("VorinPrune2", y, BINS);
  keep("VorinPrune2:count", 0, (double)count);
}

/* Rows of a compressed problem have signs of their own: their squares don't. */
static void keepRows(const char* name, const float* Kc, const float* dc, int rows) {
  for (int i = 0; i < rows; ++i) {
    double squares = 0.0;
    for (int j = 0; j < NG; ++j) {
      squares += (double)Kc[i + j * NG] * (double)Kc[i + j * NG];
    }
    keep(name, i, squares);
    keep(name, rows + i, (double)dc[i] * (double)dc[i]);
  }
}

static void compression(void) {
  static float Kc[NF * NG], dc[NF], copy[NF * NG], U[NF * NG];
  static float scratch[NG + NG * NG + NG * NF];
  float V[NG * NG], S[NG];
  const float threshold = 1e-4f;
  const int32_t mode = 1, length = NG + NG * NG + NG * NF, m = NF, n = NG, most = 6;
  int32_t count = 0, status = -1;
  call("VorinCompSVD_s", "iiiippripppp", NF, NG, NF, NG, K, Y, 1e-4, 6, &count, Kc, dc, &status);
  keepRows("VorinCompSVD_s", Kc, dc, count < 4 ? count : 4);
  keep("VorinCompSVD_s:count", 0, (double)count);
  memcpy(copy, K, sizeof copy);
  call("VorinCompSVD2_s", "iiiippripppppp", NF, NG, NF, NG, copy, Y, 1e-4, 6, &count, Kc, dc, V, S,
       &status);
  keepSingles("VorinCompSVD2_s", S, 6);
  call("VorinCompSVD3_s", "ppppppppppppppp", &mode, &length, &m, &n, &m, &n, K, Y, &threshold,
       &most, &count, Kc, dc, scratch, &status);
  keepSingles("VorinCompSVD3_s", scratch, 6);
  call("VorinCompSVD3z_s", "pppppppppppppppp", &mode, &m, &n, &m, &n, K, Y, &threshold, &most,
       &count, Kc, dc, U, V, S, &status);
  keepSingles("VorinCompSVD3z_s", S, 6);
  call("VorinComp_s", "iiiippppiiiiripppp", NG, NF, NF, NF, Y, T, K, W, 1, -1, 16, 1, 1e-4, 0,
       &count, dc, Kc, &status);
  keepSingles("VorinComp_s", dc, 16);
}

static void noiseAndRegression(void) {
  const float threshold = 3.0f, ridge = 1e-4f;
  const int32_t lda = NF, m = NF, n = NG;
  float x[NG] = {0}, flags[NF] = {0};
  double xd[NG] = {0};
  const double lambda[2] = {0.01, 0.0};
  int32_t good = 0, bad = 0, status = -1;
  call("VorinSEDiff", "iip:r", 3, NF, Y);
  keep("VorinSEDiff", 0, (double)returned);
  call("VorinSEROL", "pppppppppppppp", &threshold, &ridge, &lda, &m, &n, K, Y, W, x, flags, &good,
       &bad, NULL, &status);
  keepSingles("VorinSEROL", x, NG);
  keep("VorinSEROL:good", 0, (double)good);
  call("plsN_dll", "piippp", Kd, NF, NG, Yd, xd, &status);
  keep("plsN_dll:status", 0, (double)status);
  call("plsB_dll", "piippip", Kd, NF, NG, Yd, xd, 200, &status);
  keep("plsB_dll:status", 0, (double)status);
  call("plsReg_DLL", "piipppip", Kd, NF, NG, Yd, xd, lambda, 0, &status);
  keepDoubles("plsReg_DLL", xd, NG);
  call("LUReg_DLL", "piipppip", Kd, NF, NG, Yd, xd, lambda, 0, &status);
  keepDoubles("LUReg_DLL", xd, NG);
}

static void textAndSums(void) {
  char text[32];
  const double values[3] = {1.25, -3.5, 1000.0};
  const double a = 1.5, b = 2.25, lower = 0.0, upper = 1e6;
  const int32_t length = 16, w = 10, d = 3, fmin = 1, whole = -1234, one = 7, two = 35;
  double sumOfReals = 0.0;
  int32_t sumOfWholes = 0, status = -1;
  memset(text, ' ', sizeof text);
  call("CHGetFormat_dp", "pipppp", values, 3, &w, text, &length, &status);
  keepText("CHGetFormat_dp", text, 16);
  call("CHToString_dp", "ppp", text, &values[1], &length);
  keepText("CHToString_dp", text, 16);
  call("CHToString3_dp", "pppppppp", text, &values[0], &w, &d, &lower, &upper, &fmin, &length);
  keepText("CHToString3_dp", text, 16);
  call("CHToString_i4b", "ppp", text, &whole, &length);
  keepText("CHToString_i4b", text, 16);
  keep("sum", 0, (double)call("sum", "ii", 7, 35));
  keep("fadd_i4b_dll", 0, (double)call("fadd_i4b_dll", "ii", 7, -35));
  keep("fadd_dp_dll", 0, (double)call("fadd_dp_dll", "ii", -7, 3));
  call("sadd_i4b_dll", "ppp", &one, &two, &sumOfWholes);
  keep("sadd_i4b_dll", 0, (double)sumOfWholes);
  call("sadd_dp_dll", "ppp", &a, &b, &sumOfReals);
  keep("sadd_dp_dll", 0, sumOfReals);
}

/* Compares with the list of another machine: a number may be off by 1e-4 of the largest of its
 * name, which is ten roundings of single precision. */
static void compare(const char* list) {
  char name[48];
  int index, k = 0;
  double value, worst = 0.0;
  const char* worstName = "none";
  int same = 0;
  FILE* const file = fopen(list, "r");
  if (file == NULL) {
    fail("the list can't be read", list);
  }
  for (; fscanf(file, "%47s %d %lf", name, &index, &value) == 3; ++k) {
    double scale = 0.0, off;
    if (k >= numberCount || strcmp(numbers[k].name, name) != 0 || numbers[k].index != index) {
      fail("the lists don't have the same numbers", name);
    }
    for (int i = 0; i < numberCount; ++i) {
      if (strcmp(numbers[i].name, name) == 0) {
        scale = fmax(scale, fabs(numbers[i].value));
      }
    }
    off = numbers[k].value == value ? 0.0 : fabs(numbers[k].value - value) / scale;
    same += off == 0.0;
    if (!(off <= 1e-6)) {
      printf("%s[%d]: %.9g instead of %.9g\n", name, index, numbers[k].value, value);
      fail("a number is too far off", name);
    }
    if (off > worst) {
      worst = off;
      worstName = numbers[k].name;
    }
  }
  fclose(file);
  if (k != numberCount) {
    fail("the lists don't have the same length", list);
  }
  printf(
      "%d of %d numbers have the same bits; the largest difference is %.1e of the largest value "
      "of its array (%s)\n",
      same, k, worst, worstName);
}

int main(int argc, char** argv) {
  int passes = 1;
  if (argc < 3) {
    fail("two arguments are required, LIBRARY and TABLE, and a list of numbers is allowed",
         "usage");
  }
  loadLibrary(argv[1]);
  findExports(argv[2]);
  prepare();
  setText("FLOG", "HOSTLOG");
#if defined(_WIN32) && !defined(_WIN64)
  passes = 4;
#endif
  for (int pass = 0; pass < passes; ++pass) {
    shift = 4 * pass;
    numberCount = 0;
    setNumber("SIG ", 0.006f);
    inversions();
    setNumber("SVDN", 8.0f); /* the entries that compress do so now */
    inversions();
    setNumber("SVDN", 0.0f);
    store();
    solves();
    pruning();
    compression();
    noiseAndRegression();
    textAndSums();
    firstPass = 0;
  }
  for (int k = 0; k < exportCount; ++k) {
    if (!called[k]) {
      fail("not called", exports[k].name);
    }
  }
  if (argc > 3) {
    compare(argv[3]);
  } else {
    for (int k = 0; k < numberCount; ++k) {
      printf("%s %d %.17g\n", numbers[k].name, numbers[k].index, numbers[k].value);
    }
  }
  return 0;
}
