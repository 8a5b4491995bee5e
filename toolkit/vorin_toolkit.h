/* The C boundary of the Vorin toolkit: from measured decays to distributions.
 *
 * The toolkit knows what the numerical library (vorin.h) leaves to its host: files,
 * times and units, kernels, grids, noise, phase, measures of a distribution and how far
 * to trust it. The command `vorin` and the Python package stand on the same code.
 *
 * Conventions of every function here:
 *  - Settings and results are handles that only this library looks into. Settings are
 *    set by name, results are read by name, so that both can grow without a change
 *    of this header. What one call made another frees.
 *  - Arrays are addresses of double-precision numbers and a count. Matrices are stored
 *    by rows: element (i, j), counted from 0, of a matrix of n columns stands at
 *    i * n + j. Times are in seconds, b values in s/m2, diffusion coefficients in m2/s,
 *    amplitudes in the unit of the data. Numbers that are not known are not-a-number.
 *  - Texts are UTF-8 and end with a zero byte.
 *  - Every function but those that free, and vorin_toolkit_version, returns a VORIN_TOOLKIT_
 * status. After one that is not VORIN_TOOLKIT_OK, `message`, a buffer of the caller's of
 * `message_size` bytes, holds one sentence that says what is wrong and what would be right; it is
 *    cut at the buffer's end, and VORIN_TOOLKIT_MESSAGE_SIZE bytes hold any. After
 *    VORIN_TOOLKIT_OK it is empty. `message` may be null. What else a function writes
 *    is written only when it returns VORIN_TOOLKIT_OK; a handle that it would have made
 *    is null otherwise.
 *  - There is no global state. Any number of threads may call at once, as long as no
 *    handle is changed or freed by one while another uses it; a result is never changed
 *    by a call. No exception leaves, and nothing is printed. A log is written only where the
 *    setting "log" asks for one.
 *
 * The header is good as C99 and as C++. */
#ifndef VORIN_TOOLKIT_H
#define VORIN_TOOLKIT_H

#include <stdint.h>

#if defined(_WIN32)
#if defined(VORIN_BUILDING_TOOLKIT)
#define VORIN_TOOLKIT_API __declspec(dllexport)
#else
#define VORIN_TOOLKIT_API __declspec(dllimport)
#endif
#define VORIN_TOOLKIT_CALL __cdecl
#else
#define VORIN_TOOLKIT_API __attribute__((visibility("default")))
#define VORIN_TOOLKIT_CALL
#endif

#ifdef __cplusplus
#define VORIN_TOOLKIT_NOEXCEPT noexcept
extern "C" {
#else
#define VORIN_TOOLKIT_NOEXCEPT
#endif

/* How a job is to be done, by name. */
typedef struct vorin_settings vorin_settings;
/* What a job gave, by name. */
typedef struct vorin_result vorin_result;

/* ------------------------------------------------------------------------
 * Statuses and version
 * ------------------------------------------------------------------------ */

/* What every function returns. */
enum {
  VORIN_TOOLKIT_OK = 0,        /* done */
  VORIN_TOOLKIT_BAD_INPUT = 1, /* an argument, a setting or a file can't be used */
  VORIN_TOOLKIT_NO_MEMORY = 2, /* the system has refused memory */
  VORIN_TOOLKIT_CANCELLED = 3, /* the progress callback has ended the job */
  VORIN_TOOLKIT_NO_FIELD = 4,  /* the result has no field of this name and kind */
  VORIN_TOOLKIT_INTERNAL = 5   /* a fault of this library; the sentence helps its developers */
};

/* Sizes. */
enum {
  VORIN_TOOLKIT_MESSAGE_SIZE = 4096 /* bytes that hold any message */
};

/* The version of this library, "MAJOR.MINOR.PATCH". A program built for one major version
 * works with every library of that version.
 *
 *   returns  a static text, never to be freed */
VORIN_TOOLKIT_API const char* VORIN_TOOLKIT_CALL vorin_toolkit_version(void) VORIN_TOOLKIT_NOEXCEPT;

/* ------------------------------------------------------------------------
 * Settings
 *
 * A setting that is not set, or set to an empty text, has its default. A text is
 * read as the command reads its option of that name ("grid" = "1ms:10s:100",
 * "compress" = "20,1e-6", "weight" = "corner"), a number is the same as its text. Keys
 * of the numerical library are set as "key.MAXI" and so on, last and in the order
 * in which they were first set. vorin_setting_names lists all names.
 * ------------------------------------------------------------------------ */

/* Makes settings of which all have their defaults.
 *
 *   settings  out  address of a handle; free it by vorin_settings_free
 *   message   out  as above
 *   message_size  in  as above
 *   returns  VORIN_TOOLKIT_OK or VORIN_TOOLKIT_NO_MEMORY */
VORIN_TOOLKIT_API int32_t VORIN_TOOLKIT_CALL vorin_settings_create(
    vorin_settings** settings, char* message, int64_t message_size) VORIN_TOOLKIT_NOEXCEPT;

/* Frees settings. Results that were made with them stay good.
 *
 *   settings  in and out  the handle; null is left alone */
VORIN_TOOLKIT_API void VORIN_TOOLKIT_CALL vorin_settings_free(vorin_settings* settings)
    VORIN_TOOLKIT_NOEXCEPT;

/* Sets a setting to a text.
 *
 *   settings  in and out  the handle
 *   name      in   of the setting, such as "weight", or "key." and a key of the library
 *   text      in   its value; an empty text or null brings the default back
 *   message   out  as above
 *   message_size  in  as above
 *   returns  VORIN_TOOLKIT_OK, or VORIN_TOOLKIT_BAD_INPUT for a name that there is not and
 *            for a text that the setting never takes. Values that only other settings
 *            or the data rule out are told by the job. */
VORIN_TOOLKIT_API int32_t VORIN_TOOLKIT_CALL
vorin_settings_set_text(vorin_settings* settings, const char* name, const char* text, char* message,
                        int64_t message_size) VORIN_TOOLKIT_NOEXCEPT;

/* Sets a setting to a number, in the units above. Otherwise as vorin_settings_set_text.
 *
 *   value  in  by value */
VORIN_TOOLKIT_API int32_t VORIN_TOOLKIT_CALL
vorin_settings_set_number(vorin_settings* settings, const char* name, double value, char* message,
                          int64_t message_size) VORIN_TOOLKIT_NOEXCEPT;

/* Sets a setting to a list of numbers, which is copied: "grid", the values that the
 * distribution is over.
 *
 *   settings  in and out  the handle
 *   name      in   of the setting
 *   values    in   count numbers
 *   count     in   by value
 *   message   out  as above
 *   message_size  in  as above
 *   returns  VORIN_TOOLKIT_OK, or VORIN_TOOLKIT_BAD_INPUT for a setting that takes no list
 *            and for values that it does not take */
VORIN_TOOLKIT_API int32_t VORIN_TOOLKIT_CALL
vorin_settings_set_array(vorin_settings* settings, const char* name, const double* values,
                         int64_t count, char* message, int64_t message_size) VORIN_TOOLKIT_NOEXCEPT;

/* Sets a setting to a matrix, which is copied: "kernel", with a row for each sample
 * (skipped ones included) and a column for each value of "grid".
 *
 *   settings  in and out  the handle
 *   name      in   of the setting
 *   values    in   rows x columns, by rows
 *   rows      in   by value
 *   columns   in   by value
 *   message   out  as above
 *   message_size  in  as above
 *   returns  VORIN_TOOLKIT_OK, or VORIN_TOOLKIT_BAD_INPUT for a setting that takes no matrix
 *            and for values beyond single precision */
VORIN_TOOLKIT_API int32_t VORIN_TOOLKIT_CALL vorin_settings_set_matrix(
    vorin_settings* settings, const char* name, const double* values, int64_t rows, int64_t columns,
    char* message, int64_t message_size) VORIN_TOOLKIT_NOEXCEPT;

/* Lists all settings: a result with the lists of texts "name", "takes" (what a text
 * may be), "default" and "meaning".
 *
 *   result   out  address of a handle; free it by vorin_result_free
 *   message  out  as above
 *   message_size  in  as above
 *   returns  VORIN_TOOLKIT_OK or VORIN_TOOLKIT_NO_MEMORY */
VORIN_TOOLKIT_API int32_t VORIN_TOOLKIT_CALL vorin_setting_names(
    vorin_result** result, char* message, int64_t message_size) VORIN_TOOLKIT_NOEXCEPT;

/* ------------------------------------------------------------------------
 * Results
 *
 * A result is a list of fields, each with a name and of one kind. Addresses that lead
 * into a result are good until it is freed.
 * ------------------------------------------------------------------------ */

/* The kinds of fields. */
enum {
  VORIN_TOOLKIT_NUMBER = 1, /* one number; truths are 0 or 1 */
  VORIN_TOOLKIT_TEXT = 2,   /* one text */
  VORIN_TOOLKIT_ARRAY = 3,  /* numbers */
  VORIN_TOOLKIT_TEXTS = 4   /* texts */
};

/* Frees a result and all that leads into it.
 *
 *   result  in and out  the handle; null is left alone */
VORIN_TOOLKIT_API void VORIN_TOOLKIT_CALL vorin_result_free(vorin_result* result)
    VORIN_TOOLKIT_NOEXCEPT;

/* Tells a field by its place.
 *
 *   result   in   the handle
 *   index    in   from 0, by value
 *   name     out  the field's name
 *   kind     out  a VORIN_TOOLKIT_ kind
 *   count    out  how many numbers or texts there are; 1 for one number or text
 *   message  out  as above
 *   message_size  in  as above
 *   returns  VORIN_TOOLKIT_OK, or VORIN_TOOLKIT_NO_FIELD behind the last */
VORIN_TOOLKIT_API int32_t VORIN_TOOLKIT_CALL
vorin_result_field(const vorin_result* result, int64_t index, const char** name, int32_t* kind,
                   int64_t* count, char* message, int64_t message_size) VORIN_TOOLKIT_NOEXCEPT;

/* Reads a number.
 *
 *   result   in   the handle
 *   name     in   of the field
 *   value    out  the number
 *   message  out  as above
 *   message_size  in  as above
 *   returns  VORIN_TOOLKIT_OK or VORIN_TOOLKIT_NO_FIELD */
VORIN_TOOLKIT_API int32_t VORIN_TOOLKIT_CALL
vorin_result_number(const vorin_result* result, const char* name, double* value, char* message,
                    int64_t message_size) VORIN_TOOLKIT_NOEXCEPT;

/* Reads several numbers in one call.
 *
 *   result   in   the handle
 *   names    in   count names
 *   count    in   by value
 *   values   out  count numbers
 *   message  out  as above
 *   message_size  in  as above
 *   returns  VORIN_TOOLKIT_OK, or VORIN_TOOLKIT_NO_FIELD for the first name without a number */
VORIN_TOOLKIT_API int32_t VORIN_TOOLKIT_CALL
vorin_result_numbers(const vorin_result* result, const char* const* names, int64_t count,
                     double* values, char* message, int64_t message_size) VORIN_TOOLKIT_NOEXCEPT;

/* Reads a text.
 *
 *   result   in   the handle
 *   name     in   of the field
 *   text     out  address of the text
 *   message  out  as above
 *   message_size  in  as above
 *   returns  VORIN_TOOLKIT_OK or VORIN_TOOLKIT_NO_FIELD */
VORIN_TOOLKIT_API int32_t VORIN_TOOLKIT_CALL
vorin_result_text(const vorin_result* result, const char* name, const char** text, char* message,
                  int64_t message_size) VORIN_TOOLKIT_NOEXCEPT;

/* Reads one of several texts.
 *
 *   result   in   the handle
 *   name     in   of the field
 *   index    in   from 0, by value
 *   text     out  address of the text
 *   message  out  as above
 *   message_size  in  as above
 *   returns  VORIN_TOOLKIT_OK, or VORIN_TOOLKIT_NO_FIELD also behind the last text */
VORIN_TOOLKIT_API int32_t VORIN_TOOLKIT_CALL
vorin_result_text_at(const vorin_result* result, const char* name, int64_t index, const char** text,
                     char* message, int64_t message_size) VORIN_TOOLKIT_NOEXCEPT;

/* Reads numbers.
 *
 *   result   in   the handle
 *   name     in   of the field
 *   values   out  address of the numbers
 *   count    out  how many there are
 *   message  out  as above
 *   message_size  in  as above
 *   returns  VORIN_TOOLKIT_OK or VORIN_TOOLKIT_NO_FIELD */
VORIN_TOOLKIT_API int32_t VORIN_TOOLKIT_CALL
vorin_result_array(const vorin_result* result, const char* name, const double** values,
                   int64_t* count, char* message, int64_t message_size) VORIN_TOOLKIT_NOEXCEPT;

/* ------------------------------------------------------------------------
 * Inversion
 * ------------------------------------------------------------------------ */

/* What a job that takes long calls now and then, by one thread at a time, which may be
 * another than the caller's: how much is done of the total. An answer other than 0 ends
 * the job, which then returns VORIN_TOOLKIT_CANCELLED. */
typedef int32_t(VORIN_TOOLKIT_CALL* vorin_progress)(void* user, int64_t done, int64_t total);

/* Inverts a decay by the settings: finds the F of 0 or above that minimises
 *
 *     1/2 |K F - y|^2  +  w/2 |F|^2
 *
 * by the iteration of Butler, Reeds and Dawson (SIAM J. Numer. Anal. 18, 381, 1981),
 * where w is given, sought by the noise or by the corner of the L-curve. Complex data
 * are turned by one phase, and their real channel is inverted.
 *
 * Numbers of the result: "status" (of vorin.h), "success", "samples", "weight", "noise",
 * "signal_to_noise", "wanted_standard_error", "standard_error", "fit_error",
 * "iterations", "passes", "relaxed_target", "corner_weight", "phase", "total", "log_mean".
 * Texts: "kernel", "weight_origin", "noise_origin", "status_text". Arrays: "time",
 * "amplitude" (as inverted), "grid", "distribution", "fit", "rejected" (places from 0),
 * and, an element for each peak, "peak_position", "peak_width", "peak_share",
 * "peak_at_grid_end".
 *
 *   settings   in   the handle; null has all defaults
 *   times      in   samples numbers, rising from 0 or above
 *   real       in   samples amplitudes
 *   imaginary  in   samples amplitudes of the imaginary channel, or null for real data
 *   samples    in   by value, 2 or above
 *   result     out  address of a handle; free it by vorin_result_free. An inversion that
 *                   did not succeed has one too: look at "success".
 *   message    out  as above
 *   message_size  in  as above
 *   returns  VORIN_TOOLKIT_OK, VORIN_TOOLKIT_BAD_INPUT or VORIN_TOOLKIT_NO_MEMORY */
VORIN_TOOLKIT_API int32_t VORIN_TOOLKIT_CALL
vorin_invert(const vorin_settings* settings, const double* times, const double* real,
             const double* imaginary, int64_t samples, vorin_result** result, char* message,
             int64_t message_size) VORIN_TOOLKIT_NOEXCEPT;

/* Tells how far an inversion is to be trusted: inverts its fit with noise drawn anew
 * from its residual, many times over (Efron, Ann. Stat. 7, 1, 1979), at its weight.
 * Settings: "replicates" (200), "seed" (1), "threads" (1; 0 is one for each processor).
 * One seed gives the same numbers with any count of threads.
 *
 * Numbers of the result: "replicates" (inverted with success), "log_mean_lower",
 * "log_mean_upper" (68 %). Arrays: "lower", "upper" (of the distribution), "log_means"
 * (of each replicate).
 *
 *   inversion  in   a result of vorin_invert
 *   settings   in   the handle; null has all defaults
 *   progress   in   called after each replicate; null for none
 *   user       in   handed to progress
 *   result     out  address of a handle; free it by vorin_result_free
 *   message    out  as above
 *   message_size  in  as above
 *   returns  VORIN_TOOLKIT_OK, VORIN_TOOLKIT_BAD_INPUT, VORIN_TOOLKIT_CANCELLED or
 *            VORIN_TOOLKIT_NO_MEMORY */
VORIN_TOOLKIT_API int32_t VORIN_TOOLKIT_CALL vorin_bootstrap(
    const vorin_result* inversion, const vorin_settings* settings, vorin_progress progress,
    void* user, vorin_result** result, char* message, int64_t message_size) VORIN_TOOLKIT_NOEXCEPT;

/* The L-curve of an inversion: the norms of residual and distribution over a ladder of
 * weights, on the samples, bins and compressed rows that were inverted (Hansen and
 * O'Leary, SIAM J. Sci. Comput. 14, 1487, 1993).
 *
 * Arrays of the result: "weight" (rising), "residual_norm", "solution_norm". Numbers:
 * "corner" (place from 0 of the weight that the corner search takes), "used_weight",
 * "used_residual_norm", "used_solution_norm" (those of the inversion).
 *
 *   inversion  in   a result of vorin_invert
 *   result     out  address of a handle; free it by vorin_result_free
 *   message    out  as above
 *   message_size  in  as above
 *   returns  VORIN_TOOLKIT_OK, VORIN_TOOLKIT_BAD_INPUT where there is no ladder, or
 *            VORIN_TOOLKIT_NO_MEMORY */
VORIN_TOOLKIT_API int32_t VORIN_TOOLKIT_CALL
vorin_lcurve(const vorin_result* inversion, vorin_result** result, char* message,
             int64_t message_size) VORIN_TOOLKIT_NOEXCEPT;

/* ------------------------------------------------------------------------
 * The model: kernels, grids, noise, phase, computed decays
 *
 * Kernels are named "t2" (exp(-t/T)), "t1-saturation" (1 - exp(-t/T)), "t1-inversion"
 * (1 - 2 exp(-t/T)) and "diffusion" (exp(-b D)).
 * ------------------------------------------------------------------------ */

/* The matrix of a kernel: a row for each time, a column for each value of the grid.
 *
 *   kernel   in   its name
 *   times    in   samples numbers, times or b values
 *   samples  in   by value
 *   grid     in   points numbers above 0
 *   points   in   by value
 *   matrix   out  samples x points, by rows
 *   message  out  as above
 *   message_size  in  as above
 *   returns  VORIN_TOOLKIT_OK or VORIN_TOOLKIT_BAD_INPUT */
VORIN_TOOLKIT_API int32_t VORIN_TOOLKIT_CALL vorin_kernel_matrix(
    const char* kernel, const double* times, int64_t samples, const double* grid, int64_t points,
    double* matrix, char* message, int64_t message_size) VORIN_TOOLKIT_NOEXCEPT;

/* Values evenly spaced in their logarithm, both ends exact.
 *
 *   from     in   the first value, above 0, by value
 *   to       in   the last, above the first, by value
 *   points   in   by value, 2 to 10000
 *   grid     out  points numbers
 *   message  out  as above
 *   message_size  in  as above
 *   returns  VORIN_TOOLKIT_OK or VORIN_TOOLKIT_BAD_INPUT */
VORIN_TOOLKIT_API int32_t VORIN_TOOLKIT_CALL
vorin_log_grid(double from, double to, int64_t points, double* grid, char* message,
               int64_t message_size) VORIN_TOOLKIT_NOEXCEPT;

/* The grid that an inversion takes for samples at these times: a result with the
 * array "grid".
 *
 *   kernel   in   its name
 *   times    in   samples numbers, rising from 0 or above
 *   samples  in   by value, 2 or above
 *   result   out  address of a handle; free it by vorin_result_free
 *   message  out  as above
 *   message_size  in  as above
 *   returns  VORIN_TOOLKIT_OK, VORIN_TOOLKIT_BAD_INPUT or VORIN_TOOLKIT_NO_MEMORY */
VORIN_TOOLKIT_API int32_t VORIN_TOOLKIT_CALL
vorin_default_grid(const char* kernel, const double* times, int64_t samples, vorin_result** result,
                   char* message, int64_t message_size) VORIN_TOOLKIT_NOEXCEPT;

/* The standard deviation of the noise of a decay from second differences of neighbouring
 * samples (Gasser, Sroka and Jennen-Steinmetz, Biometrika 73, 625, 1986).
 *
 *   times    in   samples numbers, rising from 0 or above
 *   real     in   samples amplitudes
 *   samples  in   by value, 2 or above
 *   noise    out  not-a-number for too few samples, and where the differences vanish
 *   message  out  as above
 *   message_size  in  as above
 *   returns  VORIN_TOOLKIT_OK or VORIN_TOOLKIT_BAD_INPUT */
VORIN_TOOLKIT_API int32_t VORIN_TOOLKIT_CALL
vorin_difference_noise(const double* times, const double* real, int64_t samples, double* noise,
                       char* message, int64_t message_size) VORIN_TOOLKIT_NOEXCEPT;

/* Turns complex samples back by the one angle after which the sum of squares of the
 * imaginary channel is smallest. Of the two such angles the one is taken after which the
 * real channel is positive in sum; for "t1-inversion", its last sample.
 *
 *   kernel     in   its name
 *   real       in and out  samples amplitudes
 *   imaginary  in and out  samples amplitudes
 *   samples    in   by value, 2 or above
 *   phase      out  the angle of the data in radians
 *   noise      out  the standard deviation of the turned imaginary channel about its mean;
 *                   not-a-number where it is 0
 *   message    out  as above
 *   message_size  in  as above
 *   returns  VORIN_TOOLKIT_OK or VORIN_TOOLKIT_BAD_INPUT */
VORIN_TOOLKIT_API int32_t VORIN_TOOLKIT_CALL vorin_phase_correct(
    const char* kernel, double* real, double* imaginary, int64_t samples, double* phase,
    double* noise, char* message, int64_t message_size) VORIN_TOOLKIT_NOEXCEPT;

/* A computed decay with known truth: peaks that are normal in log10 T, put through a
 * kernel, with normal noise. Settings: "kernel", "grid" (of the truth; 0.1 ms to 10 s,
 * 200 values), "sigma" (of the noise; 0), "seed" (1), "phase" (radians; complex data, noise in both
 * channels). One seed gives the same noise on every machine.
 *
 * Arrays of the result: "time", "amplitude", "imaginary" (with "phase" only), "grid",
 * "distribution". Number: "log_mean" of the truth.
 *
 *   settings  in   the handle; null has all defaults
 *   times     in   samples numbers, rising from 0 or above
 *   samples   in   by value, 2 or above
 *   peaks     in   peak_count x 3, by rows: centre in the grid's unit, standard deviation
 *                  in decades, total amplitude, all above 0
 *   peak_count  in  by value
 *   result    out  address of a handle; free it by vorin_result_free
 *   message   out  as above
 *   message_size  in  as above
 *   returns  VORIN_TOOLKIT_OK, VORIN_TOOLKIT_BAD_INPUT or VORIN_TOOLKIT_NO_MEMORY */
VORIN_TOOLKIT_API int32_t VORIN_TOOLKIT_CALL
vorin_simulate(const vorin_settings* settings, const double* times, int64_t samples,
               const double* peaks, int64_t peak_count, vorin_result** result, char* message,
               int64_t message_size) VORIN_TOOLKIT_NOEXCEPT;

/* ------------------------------------------------------------------------
 * Measures, files and keys
 * ------------------------------------------------------------------------ */

/* What is read off a distribution. Numbers of the result: "total", "log_mean". Arrays,
 * an element for each peak by rising position: "peak_position", "peak_width" (decades),
 * "peak_share" (of the total), "peak_at_grid_end".
 *
 *   grid            in   points numbers, rising from above 0
 *   distribution    in   points amplitudes, 0 or above
 *   points          in   by value, 1 or above
 *   smallest_share  in   peaks of a smaller share are left out, by value
 *   result          out  address of a handle; free it by vorin_result_free
 *   message         out  as above
 *   message_size    in   as above
 *   returns  VORIN_TOOLKIT_OK, VORIN_TOOLKIT_BAD_INPUT or VORIN_TOOLKIT_NO_MEMORY */
VORIN_TOOLKIT_API int32_t VORIN_TOOLKIT_CALL vorin_measures(
    const double* grid, const double* distribution, int64_t points, double smallest_share,
    vorin_result** result, char* message, int64_t message_size) VORIN_TOOLKIT_NOEXCEPT;

/* Reads the decay in a file, as the command does. Settings: "columns" (as "1,2" or
 * "time,re,im"; a third column is an imaginary channel only when it is asked for),
 * "time_unit", "kernel" (whose abscissa the first column is).
 *
 * Arrays of the result: "time", "amplitude" and, for complex data, "imaginary".
 *
 *   path      in   of the file
 *   settings  in   the handle; null has all defaults
 *   result    out  address of a handle; free it by vorin_result_free
 *   message   out  as above
 *   message_size  in  as above
 *   returns  VORIN_TOOLKIT_OK, VORIN_TOOLKIT_BAD_INPUT or VORIN_TOOLKIT_NO_MEMORY */
VORIN_TOOLKIT_API int32_t VORIN_TOOLKIT_CALL
vorin_read_decay(const char* path, const vorin_settings* settings, vorin_result** result,
                 char* message, int64_t message_size) VORIN_TOOLKIT_NOEXCEPT;

/* Lists the keys of the numerical library: a result with the lists of texts "key",
 * "kind" (whole number, number, text or choice), "range", "unit", "meaning", "value" (when the
 * library is loaded) and the array "settable".
 *
 *   result   out  address of a handle; free it by vorin_result_free
 *   message  out  as above
 *   message_size  in  as above
 *   returns  VORIN_TOOLKIT_OK or VORIN_TOOLKIT_NO_MEMORY */
VORIN_TOOLKIT_API int32_t VORIN_TOOLKIT_CALL
vorin_keys(vorin_result** result, char* message, int64_t message_size) VORIN_TOOLKIT_NOEXCEPT;

#ifdef __cplusplus
}
#endif

#endif
