/* A C99 host of the toolkit that loads it by its file's name and calls every function.
 * Prints nothing; an unexpected answer ends it with status 1 and a line on stderr. */
#include <dlfcn.h>
#include <math.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "vorin_toolkit.h"

enum { SAMPLES = 200, POINTS = 30 };

static void* library;
static char message[VORIN_TOOLKIT_MESSAGE_SIZE];

/* ISO C has no conversion from a data to a function address; the bytes are the same. */
#define LOAD(function)                               \
  do {                                               \
    void* const address = dlsym(library, #function); \
    if (address == NULL) {                           \
      fprintf(stderr, "no %s\n", #function);         \
      exit(1);                                       \
    }                                                \
    memcpy(&p_##function, &address, sizeof address); \
  } while (0)
#define ENTRY(function) static __typeof__(&function) p_##function
__extension__ ENTRY(vorin_toolkit_version);
__extension__ ENTRY(vorin_settings_create);
__extension__ ENTRY(vorin_settings_free);
__extension__ ENTRY(vorin_settings_set_text);
__extension__ ENTRY(vorin_settings_set_number);
__extension__ ENTRY(vorin_settings_set_array);
__extension__ ENTRY(vorin_settings_set_matrix);
__extension__ ENTRY(vorin_setting_names);
__extension__ ENTRY(vorin_result_free);
__extension__ ENTRY(vorin_result_field);
__extension__ ENTRY(vorin_result_number);
__extension__ ENTRY(vorin_result_numbers);
__extension__ ENTRY(vorin_result_text);
__extension__ ENTRY(vorin_result_text_at);
__extension__ ENTRY(vorin_result_array);
__extension__ ENTRY(vorin_invert);
__extension__ ENTRY(vorin_bootstrap);
__extension__ ENTRY(vorin_lcurve);
__extension__ ENTRY(vorin_write_text);
__extension__ ENTRY(vorin_kernel_matrix);
__extension__ ENTRY(vorin_picture_axes);
__extension__ ENTRY(vorin_log_grid);
__extension__ ENTRY(vorin_default_grid);
__extension__ ENTRY(vorin_difference_noise);
__extension__ ENTRY(vorin_phase_correct);
__extension__ ENTRY(vorin_simulate);
__extension__ ENTRY(vorin_measures);
__extension__ ENTRY(vorin_report_measures);
__extension__ ENTRY(vorin_read_decay);
__extension__ ENTRY(vorin_keys);
__extension__ ENTRY(vorin_invert2d);
__extension__ ENTRY(vorin_fit2d);
__extension__ ENTRY(vorin_bootstrap2d);
__extension__ ENTRY(vorin_measures2d);
__extension__ ENTRY(vorin_share2d);
__extension__ ENTRY(vorin_simulate2d);
__extension__ ENTRY(vorin_read2d);
__extension__ ENTRY(vorin_map_create);
__extension__ ENTRY(vorin_map_free);
__extension__ ENTRY(vorin_map_describe);
__extension__ ENTRY(vorin_map_invert);
__extension__ ENTRY(vorin_map_add_to_mean);
__extension__ ENTRY(vorin_map_shared_weight);

static void load_all(void) {
  LOAD(vorin_toolkit_version);
  LOAD(vorin_settings_create);
  LOAD(vorin_settings_free);
  LOAD(vorin_settings_set_text);
  LOAD(vorin_settings_set_number);
  LOAD(vorin_settings_set_array);
  LOAD(vorin_settings_set_matrix);
  LOAD(vorin_setting_names);
  LOAD(vorin_result_free);
  LOAD(vorin_result_field);
  LOAD(vorin_result_number);
  LOAD(vorin_result_numbers);
  LOAD(vorin_result_text);
  LOAD(vorin_result_text_at);
  LOAD(vorin_result_array);
  LOAD(vorin_invert);
  LOAD(vorin_bootstrap);
  LOAD(vorin_lcurve);
  LOAD(vorin_write_text);
  LOAD(vorin_kernel_matrix);
  LOAD(vorin_picture_axes);
  LOAD(vorin_log_grid);
  LOAD(vorin_default_grid);
  LOAD(vorin_difference_noise);
  LOAD(vorin_phase_correct);
  LOAD(vorin_simulate);
  LOAD(vorin_measures);
  LOAD(vorin_report_measures);
  LOAD(vorin_read_decay);
  LOAD(vorin_keys);
  LOAD(vorin_invert2d);
  LOAD(vorin_fit2d);
  LOAD(vorin_bootstrap2d);
  LOAD(vorin_measures2d);
  LOAD(vorin_share2d);
  LOAD(vorin_simulate2d);
  LOAD(vorin_read2d);
  LOAD(vorin_map_create);
  LOAD(vorin_map_free);
  LOAD(vorin_map_describe);
  LOAD(vorin_map_invert);
  LOAD(vorin_map_add_to_mean);
  LOAD(vorin_map_shared_weight);
}

static void expect(int holds, const char* what, int line) {
  if (!holds) {
    fprintf(stderr, "line %d: %s does not hold; message: %s\n", line, what, message);
    exit(1);
  }
}
#define EXPECT(condition) expect((condition), #condition, __LINE__)
#define OK(call) EXPECT((call) == VORIN_TOOLKIT_OK)
#define TELL message, (int64_t)sizeof message

static double number(const vorin_result* result, const char* name) {
  double value = 0.0;
  OK(p_vorin_result_number(result, name, &value, TELL));
  return value;
}

static const double* array(const vorin_result* result, const char* name, int64_t length) {
  const double* values = NULL;
  int64_t count = -1;
  OK(p_vorin_result_array(result, name, &values, &count, TELL));
  EXPECT(length < 0 || count == length);
  return values;
}

static int32_t VORIN_TOOLKIT_CALL stop_at_five(void* user, int64_t done, int64_t total) {
  int64_t* const last = (int64_t*)user;
  *last = done;
  return done >= 5 && total == 2000 ? 1 : 0;
}

static int32_t VORIN_TOOLKIT_CALL stop_at_three(void* user, int64_t done, int64_t total) {
  int64_t* const last = (int64_t*)user;
  *last = done;
  return total == 3 ? 1 : 0;
}

static void model(double* t, double* grid) {
  const double peak[3] = {0.05, 0.1, 10.0};
  double matrix[SAMPLES * POINTS];
  double real[SAMPLES];
  double imaginary[SAMPLES];
  double noise = 0.0;
  double phase = 0.0;
  const char* text = NULL;
  int i;
  vorin_result* result = NULL;
  vorin_settings* settings = NULL;
  for (i = 0; i < SAMPLES; ++i) {
    t[i] = 1e-3 * (i + 1);
  }
  OK(p_vorin_log_grid(1e-3, 1.0, POINTS, grid, TELL));
  EXPECT(grid[0] == 1e-3 && grid[POINTS - 1] == 1.0);
  EXPECT(p_vorin_log_grid(1.0, 0.1, POINTS, grid, TELL) == VORIN_TOOLKIT_BAD_INPUT && message[0]);
  OK(p_vorin_kernel_matrix("t1-saturation", t, SAMPLES, grid, POINTS, matrix, TELL));
  EXPECT(fabs(matrix[2 * POINTS + 3] - (1.0 - exp(-t[2] / grid[3]))) < 1e-15);
  OK(p_vorin_default_grid("t2", t, SAMPLES, &result, TELL));
  (void)array(result, "grid", -1);
  p_vorin_result_free(result);
  /* Up to 0.03 s both time axes are in milliseconds. */
  OK(p_vorin_picture_axes("t2", 0.03, 10.0, &result, TELL));
  EXPECT(number(result, "abscissa_unit_size") == 1e-3 && number(result, "grid_unit_size") == 1e-3);
  OK(p_vorin_result_text(result, "grid_label", &text, TELL));
  EXPECT(strcmp(text, "relaxation time T2 (ms)") == 0);
  p_vorin_result_free(result);
  EXPECT(p_vorin_picture_axes("t3", 1.0, 1.0, &result, TELL) == VORIN_TOOLKIT_BAD_INPUT);
  /* Everything by default: 3000 samples from 0.2 ms of 100 in two peaks. */
  OK(p_vorin_simulate(NULL, NULL, 0, NULL, 0, &result, TELL));
  EXPECT(array(result, "time", 3000)[2999] == 3000 * 2e-4);
  EXPECT(fabs(array(result, "amplitude", 3000)[0] - 99.1) < 1.5 && number(result, "noise") == 0.2);
  p_vorin_result_free(result);
  EXPECT(p_vorin_simulate(NULL, t, SAMPLES, NULL, 1, &result, TELL) == VORIN_TOOLKIT_BAD_INPUT);
  EXPECT(p_vorin_simulate(NULL, NULL, SAMPLES, peak, 1, &result, TELL) == VORIN_TOOLKIT_BAD_INPUT);
  /* Noise is drawn for both channels; after the phase correction, the real one is the decay. */
  OK(p_vorin_settings_create(&settings, TELL));
  OK(p_vorin_settings_set_number(settings, "sigma", 0.1, TELL));
  OK(p_vorin_settings_set_number(settings, "phase", 0.6, TELL));
  OK(p_vorin_simulate(settings, t, SAMPLES, peak, 1, &result, TELL));
  memcpy(real, array(result, "amplitude", SAMPLES), sizeof real);
  memcpy(imaginary, array(result, "imaginary", SAMPLES), sizeof imaginary);
  p_vorin_result_free(result);
  p_vorin_settings_free(settings);
  OK(p_vorin_phase_correct("t2", real, imaginary, SAMPLES, &phase, &noise, TELL));
  EXPECT(fabs(phase - 0.6) < 0.02 && fabs(noise - 0.1) < 0.03 && real[0] > 5.0);
  OK(p_vorin_difference_noise(t, real, SAMPLES, &noise, TELL));
  EXPECT(fabs(noise - 0.1) < 0.04);
}

/* Amounts and percentiles of an inversion, with the intervals of its bootstrap. */
static void reportMeasures(const vorin_result* inversion, const double* grid) {
  const double* const distribution = array(inversion, "distribution", POINTS);
  const double cutoffs[2] = {0.01, 0.1};
  const double percentiles[1] = {50.0};
  const double* parts = NULL;
  vorin_result* band = NULL;
  vorin_result* report = NULL;
  vorin_settings* settings = NULL;
  OK(p_vorin_settings_create(&settings, TELL));
  OK(p_vorin_settings_set_number(settings, "replicates", 20.0, TELL));
  OK(p_vorin_bootstrap(inversion, settings, NULL, NULL, &band, TELL));
  OK(p_vorin_report_measures(grid, distribution, POINTS, cutoffs, 2, percentiles, 1,
                             array(band, "distributions", 20 * POINTS), 20,
                             number(band, "interval_factor"), &report, TELL));
  parts = array(report, "part_amount", 3);
  EXPECT(fabs(parts[0] + parts[1] + parts[2] - number(inversion, "total")) < 1e-9);
  EXPECT(array(report, "part_share_lower", 3)[0] <= array(report, "part_share_upper", 3)[0]);
  EXPECT(array(report, "percentile", 1)[0] > grid[0]);
  /* The same formula gives the interval of the log mean. */
  EXPECT(fabs(number(report, "log_mean_lower") / number(band, "log_mean_lower") - 1.0) < 1e-12);
  p_vorin_result_free(report);
  OK(p_vorin_report_measures(grid, distribution, POINTS, NULL, 0, NULL, 0, NULL, 0, 0.0, &report,
                             TELL));
  EXPECT(number(report, "mean") > number(report, "log_mean"));
  p_vorin_result_free(report);
  EXPECT(p_vorin_report_measures(grid, distribution, POINTS, percentiles, 1, cutoffs, -1, NULL, 0,
                                 0.0, &report, TELL) == VORIN_TOOLKIT_BAD_INPUT);
  EXPECT(report == NULL);
  p_vorin_result_free(band);
  p_vorin_settings_free(settings);
}

/* The text of a form of one inversion, in a buffer that the next call overwrites. */
static const char* written(const char* form, const vorin_result* inversion, const char* name,
                           const char* picture) {
  static char copy[65536];
  const char* text = NULL;
  vorin_result* result = NULL;
  OK(p_vorin_write_text(form, &inversion, NULL, &name, 1, picture, NULL, &result, TELL));
  OK(p_vorin_result_text(result, "text", &text, TELL));
  EXPECT(strlen(text) < sizeof copy);
  strcpy(copy, text);
  p_vorin_result_free(result);
  return copy;
}

/* The texts of the command's files hold the numbers of the result. */
static void texts(const vorin_result* inversion, const double* grid) {
  const double* const distribution = array(inversion, "distribution", POINTS);
  const double total = number(inversion, "total");
  const vorin_result* const both[2] = {inversion, inversion};
  const char* const names[2] = {"first", "second"};
  const char* line = written("distribution", inversion, NULL, NULL);
  const char* text = NULL;
  char* end = NULL;
  vorin_result* result = NULL;
  vorin_result* band = NULL;
  vorin_settings* settings = NULL;
  int i;
  line = strchr(line, '\n') + 1; /* a comment, then the names of the columns */
  for (i = 0; i < POINTS; ++i) {
    line = strchr(line, '\n') + 1;
    /* The CSV has eight places. */
    EXPECT(fabs(strtod(line, &end) / grid[i] - 1.0) < 1e-7 && *end == ',');
    EXPECT(fabs(strtod(end + 1, &end) - distribution[i]) < 1e-7 * total);
  }
  line = strchr(line, '\n') + 1;
  EXPECT(*line == '\0');
  line = strstr(written("json", inversion, "a", NULL), "\"total\":");
  EXPECT(fabs(strtod(line + strlen("\"total\":"), NULL) / total - 1.0) < 1e-12);
  EXPECT(strstr(written("fit", inversion, NULL, NULL), "residual") != NULL);
  EXPECT(strncmp(written("summary", inversion, "core 7", NULL), "core 7: ", 8) == 0);
  text = written("report", inversion, "<b>", "<svg><g></g></svg>");
  EXPECT(strstr(text, "&lt;b&gt;") != NULL && strstr(text, "<b>") == NULL);
  EXPECT(strstr(text, "<figure>\n<svg><g></g></svg></figure>") != NULL);

  OK(p_vorin_settings_create(&settings, TELL));
  OK(p_vorin_settings_set_text(settings, "cutoff", "20ms", TELL));
  OK(p_vorin_write_text("table", both, NULL, names, 2, NULL, settings, &result, TELL));
  OK(p_vorin_result_text(result, "text", &text, TELL));
  EXPECT(strstr(text, "share_below_0.02_s") != NULL && strstr(text, "\nsecond,") != NULL);
  p_vorin_result_free(result);
  OK(p_vorin_write_text("json", both, NULL, names, 2, NULL, settings, &result, TELL));
  OK(p_vorin_result_text(result, "text", &text, TELL));
  EXPECT(text[0] == '[');
  p_vorin_result_free(result);
  OK(p_vorin_settings_set_number(settings, "replicates", 20.0, TELL));
  OK(p_vorin_bootstrap(inversion, settings, NULL, NULL, &band, TELL));
  {
    const vorin_result* const one[2] = {band, NULL};
    EXPECT(p_vorin_write_text("table", both, one, names, 2, NULL, NULL, &result, TELL) ==
           VORIN_TOOLKIT_BAD_INPUT);
    OK(p_vorin_write_text("distribution", both, one, names, 1, NULL, NULL, &result, TELL));
  }
  OK(p_vorin_result_text(result, "text", &text, TELL));
  EXPECT(strstr(text, "lower") != NULL);
  p_vorin_result_free(result);
  EXPECT(p_vorin_write_text("fit", both, NULL, names, 2, NULL, NULL, &result, TELL) ==
         VORIN_TOOLKIT_BAD_INPUT);
  EXPECT(p_vorin_write_text("poem", both, NULL, names, 1, NULL, NULL, &result, TELL) ==
         VORIN_TOOLKIT_BAD_INPUT);
  EXPECT(result == NULL && strstr(message, "distribution") != NULL);
  p_vorin_result_free(band);
  p_vorin_settings_free(settings);
}

static void jobs(const double* t, const double* grid) {
  double y[SAMPLES];
  double matrix[SAMPLES * POINTS];
  int64_t done = 0;
  double three[2];
  const char* const names[2] = {"total", "weight"};
  const char* text = NULL;
  const double* weights = NULL;
  int32_t kind = 0;
  int64_t count = 0;
  int i;
  vorin_result* result = NULL;
  vorin_result* other = NULL;
  vorin_result* none = NULL;
  vorin_settings* settings = NULL;
  for (i = 0; i < SAMPLES; ++i) {
    y[i] = 10.0 * exp(-t[i] / 0.05) + 0.05 * ((i * 7919) % 13 - 6) / 6.0;
  }
  OK(p_vorin_settings_create(&settings, TELL));
  EXPECT(p_vorin_settings_set_text(settings, "wait", "1", TELL) == VORIN_TOOLKIT_BAD_INPUT);
  EXPECT(strstr(message, "there is no such setting") != NULL);
  EXPECT(p_vorin_settings_set_text(settings, "weight", "x", message, 12) != 0);
  EXPECT(strlen(message) == 11);
  OK(p_vorin_settings_set_array(settings, "grid", grid, POINTS, TELL));
  OK(p_vorin_settings_set_number(settings, "noise", 0.05, TELL));
  OK(p_vorin_settings_set_text(settings, "method", "classic", TELL));
  OK(p_vorin_settings_set_text(settings, "key.RSIG", "1.2", TELL));
  OK(p_vorin_invert(settings, t, y, NULL, SAMPLES, &result, TELL));
  EXPECT(number(result, "status") == 0.0 && number(result, "success") == 1.0);
  EXPECT(fabs(number(result, "wanted_standard_error") - 0.06) < 1e-6);
  EXPECT(fabs(number(result, "log_mean") - 0.05) < 2e-3);
  OK(p_vorin_result_numbers(result, names, 2, three, TELL));
  EXPECT(fabs(three[0] - 10.0) < 0.2 && three[1] == number(result, "weight"));
  OK(p_vorin_result_text(result, "weight_origin", &text, TELL));
  EXPECT(strcmp(text, "noise") == 0);
  EXPECT(p_vorin_result_text(result, "total", &text, TELL) == VORIN_TOOLKIT_NO_FIELD);
  OK(p_vorin_result_field(result, 0, &text, &kind, &count, TELL));
  EXPECT(strcmp(text, "status") == 0 && kind == VORIN_TOOLKIT_NUMBER && count == 1);
  EXPECT(p_vorin_result_field(result, 999, &text, &kind, &count, TELL) == VORIN_TOOLKIT_NO_FIELD);

  OK(p_vorin_lcurve(result, &other, TELL));
  weights = array(other, "weight", -1);
  EXPECT(weights[1] > weights[0] && number(other, "used_weight") == number(result, "weight"));
  p_vorin_result_free(other);
  OK(p_vorin_settings_set_number(settings, "replicates", 2000.0, TELL));
  EXPECT(p_vorin_bootstrap(result, settings, stop_at_five, &done, &other, TELL) ==
         VORIN_TOOLKIT_CANCELLED);
  EXPECT(done == 5 && other == NULL);
  OK(p_vorin_settings_set_number(settings, "replicates", 40.0, TELL));
  OK(p_vorin_bootstrap(result, settings, NULL, NULL, &other, TELL));
  EXPECT(number(other, "log_mean_lower") < number(result, "log_mean"));
  (void)array(other, "upper", POINTS);
  EXPECT(p_vorin_lcurve(other, &none, TELL) == VORIN_TOOLKIT_BAD_INPUT && none == NULL);
  p_vorin_result_free(other);

  /* A matrix of the host's own, which is that of the kernel: the same bits. */
  OK(p_vorin_kernel_matrix("t2", t, SAMPLES, grid, POINTS, matrix, TELL));
  OK(p_vorin_settings_set_matrix(settings, "kernel", matrix, SAMPLES, POINTS, TELL));
  OK(p_vorin_invert(settings, t, y, NULL, SAMPLES, &other, TELL));
  EXPECT(memcmp(array(other, "distribution", POINTS), array(result, "distribution", POINTS),
                POINTS * sizeof(double)) == 0);
  p_vorin_result_free(other);
  OK(p_vorin_measures(grid, array(result, "distribution", POINTS), POINTS, 0.005, &other, TELL));
  EXPECT(number(other, "total") == number(result, "total"));
  EXPECT(array(other, "cumulative", POINTS)[POINTS - 1] == number(result, "total"));
  p_vorin_result_free(other);
  reportMeasures(result, grid);
  texts(result, grid);
  p_vorin_result_free(result);
  y[3] = NAN;
  EXPECT(p_vorin_invert(settings, t, y, NULL, SAMPLES, &result, TELL) == VORIN_TOOLKIT_BAD_INPUT);
  EXPECT(result == NULL && strncmp(message, "y[3] is not a finite number", 27) == 0);
  p_vorin_settings_free(settings);
}

/* A map of computed data: one peak, whose share of a rectangle around it is all. */
static void maps(void) {
  enum { ROWS = 16, COLUMNS = 150, CELLS1 = 20, CELLS2 = 21 };
  const double peak[4] = {0.3, 0.05, 0.1, 10.0};
  const double regions[8] = {0.05, 2.0, 0.01, 0.3, 1e-4, 1e-3, 0.01, 0.3};
  double t1[ROWS];
  double t2[COLUMNS];
  double grid1[CELLS1];
  double grid2[CELLS2];
  static double samples[ROWS * COLUMNS];
  static double imaginary[ROWS * COLUMNS];
  static double fit[ROWS * COLUMNS];
  double squares = 0.0;
  double share = 0.0;
  int64_t done = 0;
  int i;
  const char* text = NULL;
  vorin_result* result = NULL;
  vorin_result* other = NULL;
  vorin_settings* settings = NULL;
  OK(p_vorin_log_grid(1e-3, 3.0, ROWS, t1, TELL));
  OK(p_vorin_log_grid(1e-3, 1.0, COLUMNS, t2, TELL));
  OK(p_vorin_log_grid(1e-2, 10.0, CELLS1, grid1, TELL));
  OK(p_vorin_log_grid(1e-3, 1.0, CELLS2, grid2, TELL));
  OK(p_vorin_settings_create(&settings, TELL));
  OK(p_vorin_settings_set_number(settings, "sigma", 0.05, TELL));
  OK(p_vorin_settings_set_number(settings, "phase", 0.4, TELL));
  for (i = 0; i < 4; ++i) {
    double bad[8] = {0.3, 0.1, 0.1, 10.0, 0.3, 0.1, 0.1, 10.0};
    bad[4 + i] = 0.0;
    EXPECT(p_vorin_simulate2d(settings, t1, ROWS, t2, COLUMNS, bad, 2, &result, TELL) ==
           VORIN_TOOLKIT_BAD_INPUT);
    EXPECT(strstr(message, "peaks[1] is (") != NULL);
    bad[4 + i] = HUGE_VAL;
    EXPECT(p_vorin_simulate2d(settings, t1, ROWS, t2, COLUMNS, bad, 2, &result, TELL) ==
           VORIN_TOOLKIT_BAD_INPUT);
  }
  OK(p_vorin_simulate2d(settings, t1, ROWS, t2, COLUMNS, peak, 1, &result, TELL));
  memcpy(samples, array(result, "samples", ROWS * (int64_t)COLUMNS), sizeof samples);
  memcpy(imaginary, array(result, "imaginary", ROWS * (int64_t)COLUMNS), sizeof imaginary);
  p_vorin_result_free(result);
  OK(p_vorin_settings_set_array(settings, "grid1", grid1, CELLS1, TELL));
  OK(p_vorin_settings_set_array(settings, "grid2", grid2, CELLS2, TELL));
  OK(p_vorin_settings_set_text(settings, "noise", "projection", TELL));
  EXPECT(p_vorin_settings_set_text(settings, "noise", "x", TELL) == VORIN_TOOLKIT_BAD_INPUT);
  EXPECT(strstr(message, "for a map SIGMA|projection|quadrature") != NULL);
  OK(p_vorin_settings_set_text(settings, "noise", "quadrature", TELL));
  OK(p_vorin_invert2d(settings, t1, ROWS, t2, COLUMNS, samples, imaginary, NULL, NULL, &result,
                      TELL));
  EXPECT(number(result, "success") == 1.0 && number(result, "status") == 0.0);
  EXPECT(fabs(number(result, "phase") - 0.4) < 0.01);
  EXPECT(fabs(number(result, "noise") - 0.05) < 0.005);
  EXPECT(fabs(number(result, "total") - 10.0) < 0.3);
  EXPECT(fabs(number(result, "log_mean1") - 0.3) < 0.03);
  OK(p_vorin_result_text(result, "kernel1", &text, TELL));
  EXPECT(strcmp(text, "t1-inversion") == 0);
  text = strstr(written("json", result, NULL, NULL), "\"total\":");
  EXPECT(fabs(strtod(text + strlen("\"total\":"), NULL) / number(result, "total") - 1.0) < 1e-12);
  text = strchr(written("distribution", result, NULL, NULL), ',') + 1;
  EXPECT(fabs(strtod(text, NULL) / array(result, "grid2", CELLS2)[0] - 1.0) < 1e-8);
  EXPECT(p_vorin_write_text("table", (const vorin_result* const*)&result, NULL, NULL, 1, NULL, NULL,
                            &other, TELL) == VORIN_TOOLKIT_BAD_INPUT);
  OK(p_vorin_fit2d(result, fit, TELL));
  for (i = 0; i < ROWS * COLUMNS; ++i) {
    const double rest = array(result, "samples", ROWS * (int64_t)COLUMNS)[i] - fit[i];
    squares += rest * rest;
  }
  EXPECT(fabs(sqrt(squares / (ROWS * COLUMNS)) - 0.05) < 0.005);
  OK(p_vorin_share2d(grid1, CELLS1, grid2, CELLS2,
                     array(result, "distribution", CELLS1 * (int64_t)CELLS2), regions, &share,
                     TELL));
  EXPECT(share > 0.95 && share <= 1.0 + 1e-12);
  OK(p_vorin_measures2d(grid1, CELLS1, grid2, CELLS2,
                        array(result, "distribution", CELLS1 * (int64_t)CELLS2), 0.3, &other,
                        TELL));
  EXPECT(number(other, "total") == number(result, "total"));
  EXPECT(array(other, "peak_share", 1)[0] == array(result, "peak_share", -1)[0]);
  (void)array(other, "projection2", CELLS2);
  p_vorin_result_free(other);
  OK(p_vorin_settings_set_number(settings, "replicates", 2000.0, TELL));
  EXPECT(p_vorin_bootstrap2d(result, settings, regions, 2, stop_at_five, &done, &other, TELL) ==
         VORIN_TOOLKIT_CANCELLED);
  EXPECT(done == 5 && other == NULL);
  OK(p_vorin_settings_set_number(settings, "replicates", 20.0, TELL));
  OK(p_vorin_bootstrap2d(result, settings, regions, 2, NULL, NULL, &other, TELL));
  EXPECT(number(other, "replicates") == 20.0);
  EXPECT(array(other, "region_share_lower", 2)[0] <= array(other, "region_share_upper", 2)[0]);
  EXPECT(array(other, "peak_log_mean1_lower", -1)[0] < 0.33);
  EXPECT(p_vorin_fit2d(other, fit, TELL) == VORIN_TOOLKIT_BAD_INPUT);
  p_vorin_result_free(other);
  EXPECT(p_vorin_lcurve(result, &other, TELL) == VORIN_TOOLKIT_BAD_INPUT);
  p_vorin_result_free(result);
  /* A decay's job refuses what is for maps alone. */
  OK(p_vorin_settings_set_text(settings, "noise", "projection", TELL));
  EXPECT(p_vorin_invert(settings, t2, samples, NULL, COLUMNS, &result, TELL) ==
         VORIN_TOOLKIT_BAD_INPUT);
  samples[COLUMNS + 2] = NAN;
  EXPECT(p_vorin_invert2d(settings, t1, ROWS, t2, COLUMNS, samples, NULL, NULL, NULL, &result,
                          TELL) == VORIN_TOOLKIT_BAD_INPUT);
  EXPECT(result == NULL && strstr(message, "row 2, column 3") != NULL);
  EXPECT(p_vorin_read2d("no such file", NULL, &result, TELL) == VORIN_TOOLKIT_BAD_INPUT);
  p_vorin_settings_free(settings);
}

/* Three voxels, one of them masked: what vorin_invert gives for each, from floats and doubles. */
static void voxels(const double* t) {
  enum { VOXELS = 3 };
  const uint8_t mask[VOXELS] = {1, 0, 1};
  const double noise[VOXELS] = {NAN, NAN, 0.5};
  const double peak[3] = {0.05, 0.1, 10.0};
  double samples[VOXELS * SAMPLES];
  float floats[VOXELS * SAMPLES];
  double sums[SAMPLES] = {0.0};
  double mean[SAMPLES];
  double weight = 0.0;
  int64_t count = 0;
  int64_t done = 0;
  vorin_settings* settings = NULL;
  vorin_map* map = NULL;
  vorin_result* result = NULL;
  vorin_result* other = NULL;
  const char* text = NULL;
  OK(p_vorin_settings_create(&settings, TELL));
  for (int voxel = 0; voxel < VOXELS; ++voxel) {
    OK(p_vorin_settings_set_number(settings, "seed", (double)(voxel + 1), TELL));
    OK(p_vorin_simulate(settings, t, SAMPLES, peak, 1, &result, TELL));
    memcpy(samples + voxel * SAMPLES, array(result, "amplitude", SAMPLES),
           SAMPLES * sizeof *samples);
    p_vorin_result_free(result);
  }
  for (int i = 0; i < VOXELS * SAMPLES; ++i) {
    floats[i] = (float)samples[i];
  }
  OK(p_vorin_settings_set_text(settings, "cutoff", "33ms", TELL));
  OK(p_vorin_settings_set_text(settings, "distribution", "on", TELL));
  OK(p_vorin_settings_set_text(settings, "grid", "1ms:1s:40", TELL));
  OK(p_vorin_settings_set_number(settings, "threads", 2.0, TELL));
  OK(p_vorin_map_create(settings, t, SAMPLES, &map, TELL));
  OK(p_vorin_map_describe(map, &result, TELL));
  EXPECT(number(result, "samples") == SAMPLES && number(result, "points") == 40.0);
  EXPECT(number(result, "ranges") == 2.0 && number(result, "keeps_distribution") == 1.0);
  EXPECT(array(result, "range_edges", 3)[1] == 0.033);
  OK(p_vorin_result_text_at(result, "status_words", VORIN_TOOLKIT_VOXEL_MASKED, &text, TELL));
  EXPECT(strcmp(text, "masked") == 0);
  p_vorin_result_free(result);

  OK(p_vorin_map_invert(map, samples, 8, VOXELS, mask, NULL, NULL, NULL, NULL, &result, TELL));
  EXPECT(array(result, "status", VOXELS)[1] == VORIN_TOOLKIT_VOXEL_MASKED);
  EXPECT(isnan(array(result, "total", VOXELS)[1]));
  OK(p_vorin_invert(settings, t, samples + 2 * SAMPLES, NULL, SAMPLES, &other, TELL));
  EXPECT(array(result, "log_mean", VOXELS)[2] == number(other, "log_mean"));
  EXPECT(array(result, "signal_to_noise", VOXELS)[2] == number(other, "signal_to_noise"));
  EXPECT(memcmp(array(result, "distribution", VOXELS * 40) + 80, array(other, "distribution", 40),
                40 * sizeof(double)) == 0);
  EXPECT(array(result, "share", VOXELS * 2)[4] + array(result, "share", VOXELS * 2)[5] > 0.999);
  p_vorin_result_free(other);
  OK(p_vorin_map_invert(map, floats, 4, VOXELS, NULL, noise, NULL, NULL, NULL, &other, TELL));
  EXPECT(fabs(array(other, "total", VOXELS)[0] / array(result, "total", VOXELS)[0] - 1.0) < 1e-4);
  EXPECT(array(other, "noise", VOXELS)[2] == 0.5 && array(other, "status", VOXELS)[1] == 0.0);
  p_vorin_result_free(other);
  p_vorin_result_free(result);
  EXPECT(p_vorin_map_invert(map, samples, 8, VOXELS, NULL, NULL, NULL, stop_at_three, &done,
                            &result, TELL) == VORIN_TOOLKIT_CANCELLED);
  EXPECT(done == VOXELS && result == NULL);
  EXPECT(p_vorin_map_invert(map, samples, 2, VOXELS, NULL, NULL, NULL, NULL, NULL, &result, TELL) ==
         VORIN_TOOLKIT_BAD_INPUT);
  EXPECT(p_vorin_map_invert(map, NULL, 8, VOXELS, NULL, NULL, NULL, NULL, NULL, &result, TELL) ==
         VORIN_TOOLKIT_BAD_INPUT);

  OK(p_vorin_map_add_to_mean(map, samples, 8, VOXELS, mask, sums, &count, TELL));
  EXPECT(count == 2 && sums[7] == samples[7] + samples[2 * SAMPLES + 7]);
  for (int i = 0; i < SAMPLES; ++i) {
    mean[i] = sums[i] / (double)count;
  }
  OK(p_vorin_map_shared_weight(settings, t, mean, SAMPLES, &weight, TELL));
  OK(p_vorin_invert(settings, t, mean, NULL, SAMPLES, &other, TELL));
  EXPECT(weight == number(other, "weight"));
  p_vorin_result_free(other);
  p_vorin_map_free(map);
  OK(p_vorin_settings_set_text(settings, "log", "some.log", TELL));
  EXPECT(p_vorin_map_create(settings, t, SAMPLES, &map, TELL) == VORIN_TOOLKIT_BAD_INPUT);
  EXPECT(map == NULL && strncmp(message, "log:", 4) == 0);
  p_vorin_map_free(NULL);
  p_vorin_settings_free(settings);
}

int main(int argc, char** argv) {
  double t[SAMPLES];
  double grid[POINTS];
  const char* text = NULL;
  vorin_result* result = NULL;
  if (argc != 3) {
    return 1;
  }
  library = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
  if (library == NULL) {
    fprintf(stderr, "%s\n", dlerror());
    return 1;
  }
  load_all();
  EXPECT(strchr(p_vorin_toolkit_version(), '.') != NULL);
  model(t, grid);
  jobs(t, grid);
  maps();
  voxels(t);
  OK(p_vorin_keys(&result, TELL));
  OK(p_vorin_result_text_at(result, "key", 0, &text, TELL));
  EXPECT(strlen(text) > 0);
  EXPECT(p_vorin_result_text_at(result, "key", 9999, &text, TELL) == VORIN_TOOLKIT_NO_FIELD);
  p_vorin_result_free(result);
  OK(p_vorin_setting_names(&result, TELL));
  OK(p_vorin_result_text_at(result, "name", 0, &text, TELL));
  EXPECT(strlen(text) > 0);
  p_vorin_result_free(result);
  OK(p_vorin_read_decay(argv[2], NULL, &result, TELL));
  EXPECT(array(result, "time", 3000)[0] == 2e-4);
  p_vorin_result_free(result);
  EXPECT(p_vorin_read_decay("no such file", NULL, &result, TELL) == VORIN_TOOLKIT_BAD_INPUT);
  EXPECT(p_vorin_read_decay(NULL, NULL, &result, NULL, 0) == VORIN_TOOLKIT_BAD_INPUT);
  p_vorin_result_free(NULL);
  p_vorin_settings_free(NULL);
  return 0;
}
