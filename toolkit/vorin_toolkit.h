/* The Vorin toolkit: from measured decays to distributions, for programs in any language.
 *
 * The numerical library (vorin.h) solves; the toolkit does the rest of a job: it reads
 * files, times and units, computes kernels and grids, estimates noise, corrects the
 * phase, measures a distribution and its uncertainty. The command `vorin` and the Python
 * package run on the same code.
 *
 * A job in four steps: vorin_settings_create and vorin_settings_set_text,
 * vorin_read_decay or arrays of the caller, vorin_invert, vorin_result_array.
 *
 * Contents, in the order of this file
 *
 *   Statuses and version  vorin_toolkit_version
 *   Settings              vorin_settings_create, vorin_settings_free,
 *                         vorin_settings_set_text, vorin_settings_set_number,
 *                         vorin_settings_set_array, vorin_settings_set_matrix,
 *                         vorin_setting_names
 *   Results               vorin_result_free, vorin_result_field, vorin_result_number,
 *                         vorin_result_numbers, vorin_result_text, vorin_result_text_at,
 *                         vorin_result_array
 *   Inversion             vorin_invert, vorin_bootstrap, vorin_lcurve, vorin_write_report,
 *                         vorin_write_text
 *   Maps of many decays   vorin_map_create, vorin_map_free, vorin_map_describe,
 *                         vorin_map_invert, vorin_map_add_to_mean,
 *                         vorin_map_shared_weight
 *   Maps over two axes    vorin_invert2d, vorin_fit2d, vorin_bootstrap2d,
 *                         vorin_measures2d, vorin_share2d, vorin_simulate2d,
 *                         vorin_read2d
 *   The model             vorin_kernel_matrix, vorin_picture_axes, vorin_log_grid,
 *                         vorin_default_grid, vorin_difference_noise,
 *                         vorin_phase_correct, vorin_simulate
 *   Measures, files       vorin_measures, vorin_report_measures, vorin_read_decay,
 *   and keys              vorin_keys
 *
 * Conventions of every function here:
 *  - Settings and results are opaque handles. Settings are set by name, and results are
 *    read by name, so that both can grow without a change of this header. The caller
 *    frees each handle that a function has made, with the function of its kind.
 *  - Arrays are addresses of double-precision numbers and a count. Matrices are
 *    row-major: element (i, j), counted from 0, of a matrix of n columns is at offset
 *    i * n + j. Times are in seconds, b values in s/m2, diffusion coefficients in m2/s,
 *    amplitudes in the unit of the data. An unknown number is not-a-number.
 *  - Texts are UTF-8 and end with a zero byte.
 *  - Every function returns a status, except those that free and vorin_toolkit_version.
 *    With any status but VORIN_TOOLKIT_OK the function writes one sentence to `message`,
 *    a buffer of `message_size` bytes of the caller: what is wrong and what would be
 *    right. The sentence is cut at the end of the buffer; VORIN_TOOLKIT_MESSAGE_SIZE
 *    bytes hold any. With VORIN_TOOLKIT_OK it is empty. `message` may be null.
 *  - Other outputs are written only with VORIN_TOOLKIT_OK; otherwise the address of a
 *    handle is set to null.
 *  - There is no global state. Any number of threads may call at once, as long as no
 *    thread changes or frees a handle while another uses it. A call never changes a
 *    result. No exception leaves, and nothing is printed. Only the setting "log" makes a
 *    job write a log.
 *
 * The header compiles as C99 and as C++. */
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

/* Settings of a job, by name. */
typedef struct vorin_settings vorin_settings;
/* The result of a job, by name. */
typedef struct vorin_result vorin_result;
/* What inverts very many decays at the same times. */
typedef struct vorin_map vorin_map;

/* ------------------------------------------------------------------------
 * Statuses and version
 * ------------------------------------------------------------------------ */

/* The statuses. */
enum {
  VORIN_TOOLKIT_OK = 0,        /* done */
  VORIN_TOOLKIT_BAD_INPUT = 1, /* an argument, a setting or a file is not usable */
  VORIN_TOOLKIT_NO_MEMORY = 2, /* the system refused memory */
  VORIN_TOOLKIT_CANCELLED = 3, /* the progress callback ended the job */
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
 *   returns  a static text; do not free it */
VORIN_TOOLKIT_API const char* VORIN_TOOLKIT_CALL vorin_toolkit_version(void) VORIN_TOOLKIT_NOEXCEPT;

/* ------------------------------------------------------------------------
 * Settings
 *
 * A setting that is not set, or set to an empty text, has its default. A text is read as
 * the command reads its option of that name ("grid" = "1ms:10s:100", "compress" =
 * "20,1e-6", "weight" = "corner"); a number has the same effect as its text. The keys of
 * the numerical library are settings with a prefix, such as "key.MAXI"; a job applies
 * them last, in the order in which they were first set. vorin_setting_names lists all
 * names.
 * ------------------------------------------------------------------------ */

/* Creates settings, all with their defaults.
 *
 *   settings  out  address of a handle; free it by vorin_settings_free
 *   message   out  as above
 *   message_size  in  as above
 *   returns  VORIN_TOOLKIT_OK or VORIN_TOOLKIT_NO_MEMORY */
VORIN_TOOLKIT_API int32_t VORIN_TOOLKIT_CALL vorin_settings_create(
    vorin_settings** settings, char* message, int64_t message_size) VORIN_TOOLKIT_NOEXCEPT;

/* Frees settings. Results of jobs that used them stay valid.
 *
 *   settings  in and out  the handle; null has no effect */
VORIN_TOOLKIT_API void VORIN_TOOLKIT_CALL vorin_settings_free(vorin_settings* settings)
    VORIN_TOOLKIT_NOEXCEPT;

/* Sets a setting to a text.
 *
 *   settings  in and out  the handle
 *   name      in   of the setting, such as "weight", or "key." and a key of the library
 *   text      in   its value; an empty text or null restores the default
 *   message   out  as above
 *   message_size  in  as above
 *   returns  VORIN_TOOLKIT_OK, or VORIN_TOOLKIT_BAD_INPUT for an unknown name and for a
 *            text that the setting never takes. The job itself reports values that only
 *            other settings or the data rule out. */
VORIN_TOOLKIT_API int32_t VORIN_TOOLKIT_CALL
vorin_settings_set_text(vorin_settings* settings, const char* name, const char* text, char* message,
                        int64_t message_size) VORIN_TOOLKIT_NOEXCEPT;

/* Sets a setting to a number, in the units above. Otherwise as vorin_settings_set_text.
 *
 *   value  in  by value */
VORIN_TOOLKIT_API int32_t VORIN_TOOLKIT_CALL
vorin_settings_set_number(vorin_settings* settings, const char* name, double value, char* message,
                          int64_t message_size) VORIN_TOOLKIT_NOEXCEPT;

/* Sets a setting to a list of numbers, which is copied: "grid", the abscissae of the
 * distribution, or "grid1" or "grid2", those of a map.
 *
 *   settings  in and out  the handle
 *   name      in   of the setting
 *   values    in   count numbers
 *   count     in   by value
 *   message   out  as above
 *   message_size  in  as above
 *   returns  VORIN_TOOLKIT_OK, or VORIN_TOOLKIT_BAD_INPUT for a setting that takes no list
 *            and for values out of its range */
VORIN_TOOLKIT_API int32_t VORIN_TOOLKIT_CALL
vorin_settings_set_array(vorin_settings* settings, const char* name, const double* values,
                         int64_t count, char* message, int64_t message_size) VORIN_TOOLKIT_NOEXCEPT;

/* Sets a setting to a matrix, which is copied: "kernel", with a row for each sample
 * (skipped ones included) and a column for each value of "grid", or "kernel1" or "kernel2"
 * of a map, with a row for each value of the axis and a column for each of its grid.
 *
 *   settings  in and out  the handle
 *   name      in   of the setting
 *   values    in   rows x columns, row-major
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
 * A result is a list of fields, each with a name and a kind. Addresses of its texts and
 * numbers are valid until it is freed.
 * ------------------------------------------------------------------------ */

/* The kinds of fields. */
enum {
  VORIN_TOOLKIT_NUMBER = 1, /* one number; 0 or 1 for no or yes */
  VORIN_TOOLKIT_TEXT = 2,   /* one text */
  VORIN_TOOLKIT_ARRAY = 3,  /* numbers */
  VORIN_TOOLKIT_TEXTS = 4   /* texts */
};

/* Frees a result; the addresses of its texts and numbers become invalid.
 *
 *   result  in and out  the handle; null has no effect */
VORIN_TOOLKIT_API void VORIN_TOOLKIT_CALL vorin_result_free(vorin_result* result)
    VORIN_TOOLKIT_NOEXCEPT;

/* Describes a field by its index.
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

/* A long job calls this function repeatedly with the work done and the total. One thread
 * calls at a time, which may differ from the caller's. A return value other than 0 ends
 * the job, which then returns VORIN_TOOLKIT_CANCELLED. */
typedef int32_t(VORIN_TOOLKIT_CALL* vorin_progress)(void* user, int64_t done, int64_t total);

/* Inverts a decay: finds the distribution
 *
 *     minimise over F >= 0:   1/2 |K F - y|^2  +  w/2 |F|^2
 *
 * by the iteration of Butler, Reeds and Dawson (SIAM J. Numer. Anal. 18, 381, 1981),
 * where w is chosen from the data with the range of the grid outside which F is 0, given,
 * or sought by the noise or by the corner of the L-curve. Complex data are turned by one
 * phase, and their real channel is inverted. Data that the kernel can't describe are told
 * by "finding" and "finding_text", which are empty otherwise. With the setting "calibrate"
 * ("100pu=1234.5": an amplitude of 1234.5 in the data is 100 pu) all amplitudes of the
 * result are in that unit.
 *
 * Numbers of the result: "status" (of vorin.h), "success", "samples", "weight", "noise",
 * "signal_to_noise", "wanted_standard_error", "standard_error", "fit_error",
 * "iterations", "passes", "relaxed_target", "corner_weight", "phase", "noise_spread"
 * (relative standard deviation of the noise), "offset" (beside the curve), "efficiency"
 * (of the inversion), "flip" (refocusing angle of "t2-epg" in degrees), "total", "log_mean".
 * Texts: "kernel", "weight_origin",
 * "noise_origin", "status_text", "finding", "finding_text", "amplitude_unit" (of "calibrate"; empty
 * without). List of texts: "notes" (remarks, a sentence each). Arrays: "time", "amplitude" (as
 * inverted), "grid", "distribution", "fit", "rejected" (indices from 0), "left_out" (those of them
 * that lie off every curve at the start of an echo train), "support" (the first and the last grid
 * value of the range), and, an element for each peak, "peak_position", "peak_width", "peak_share",
 * "peak_at_grid_end".
 *
 *   settings   in   the handle; null for all defaults
 *   times      in   samples numbers, rising from 0 or above
 *   real       in   samples amplitudes
 *   imaginary  in   samples amplitudes of the imaginary channel, or null for real data
 *   samples    in   by value, 2 or above
 *   result     out  address of a handle; free it by vorin_result_free. An unsuccessful
 *                   inversion has a result too; its "success" is 0.
 *   message    out  as above
 *   message_size  in  as above
 *   returns  VORIN_TOOLKIT_OK, VORIN_TOOLKIT_BAD_INPUT or VORIN_TOOLKIT_NO_MEMORY */
VORIN_TOOLKIT_API int32_t VORIN_TOOLKIT_CALL
vorin_invert(const vorin_settings* settings, const double* times, const double* real,
             const double* imaginary, int64_t samples, vorin_result** result, char* message,
             int64_t message_size) VORIN_TOOLKIT_NOEXCEPT;

/* Estimates the uncertainty of an inversion by the residual bootstrap (Efron, Ann. Stat.
 * 7, 1, 1979): inverts its fit with noise resampled from its residual, at its weight.
 * Settings: "replicates" (200), "seed" (1), "threads" (1; 0 is one for each processor).
 * One seed gives the same numbers with any count of threads.
 *
 * Numbers of the result: "replicates" (inverted with success), "log_mean_lower",
 * "log_mean_upper" (68 %), "interval_too_narrow" (1 where a broad peak makes it one that
 * holds the truth less often), "interval_factor" (for vorin_report_measures). Arrays: "lower",
 * "upper" (of the distribution), "log_means" (of each replicate), "distributions" (replicates x
 * points of the grid, row-major).
 *
 *   inversion  in   a result of vorin_invert
 *   settings   in   the handle; null for all defaults
 *   progress   in   called after each replicate; null for none
 *   user       in   passed to progress
 *   result     out  address of a handle; free it by vorin_result_free
 *   message    out  as above
 *   message_size  in  as above
 *   returns  VORIN_TOOLKIT_OK, VORIN_TOOLKIT_BAD_INPUT, VORIN_TOOLKIT_CANCELLED or
 *            VORIN_TOOLKIT_NO_MEMORY */
VORIN_TOOLKIT_API int32_t VORIN_TOOLKIT_CALL vorin_bootstrap(
    const vorin_result* inversion, const vorin_settings* settings, vorin_progress progress,
    void* user, vorin_result** result, char* message, int64_t message_size) VORIN_TOOLKIT_NOEXCEPT;

/* The L-curve of an inversion: the norms of residual and distribution over a grid of
 * weights, on the samples, bins and compressed rows that were inverted (Hansen and
 * O'Leary, SIAM J. Sci. Comput. 14, 1487, 1993).
 *
 * Arrays of the result: "weight" (rising), "residual_norm", "solution_norm". Numbers:
 * "corner" (index from 0 of the weight that the corner search takes), "used_weight",
 * "used_residual_norm", "used_solution_norm" (those of the inversion).
 *
 *   inversion  in   a result of vorin_invert
 *   result     out  address of a handle; free it by vorin_result_free
 *   message    out  as above
 *   message_size  in  as above
 *   returns  VORIN_TOOLKIT_OK, VORIN_TOOLKIT_BAD_INPUT where there is no weight grid, or
 *            VORIN_TOOLKIT_NO_MEMORY */
VORIN_TOOLKIT_API int32_t VORIN_TOOLKIT_CALL
vorin_lcurve(const vorin_result* inversion, vorin_result** result, char* message,
             int64_t message_size) VORIN_TOOLKIT_NOEXCEPT;

/* Writes the report of an inversion, for paper: its picture, results, peaks, checks of the
 * residual, remarks, settings and versions. The name ends in .html (one page that needs no
 * other file) or .pdf; the file appears whole or not at all. gnuplot draws the picture and
 * has to be installed.
 *
 * Settings: "name" (of the sample; "decay"), "title", "amplitude_label", "cutoff" and
 * "percentiles" (which measures beside total, means and peaks).
 *
 *   inversion  in   a result of vorin_invert
 *   bootstrap  in   a result of vorin_bootstrap for it, whose intervals are told, or null
 *   settings   in   the handle; null for all defaults
 *   path       in   of the file
 *   message    out  as above
 *   message_size  in  as above
 *   returns  VORIN_TOOLKIT_OK, VORIN_TOOLKIT_BAD_INPUT or VORIN_TOOLKIT_NO_MEMORY */
VORIN_TOOLKIT_API int32_t VORIN_TOOLKIT_CALL vorin_write_report(
    const vorin_result* inversion, const vorin_result* bootstrap, const vorin_settings* settings,
    const char* path, char* message, int64_t message_size) VORIN_TOOLKIT_NOEXCEPT;

/* Writes results as the texts of the command's files: a result with the text "text".
 *
 * The forms: "distribution" and "fit", CSV as of the options --out and --fit; "json", an
 * object, or an array of several; "summary", that of the terminal; "table", CSV with a row for
 * each inversion; "report", the page of vorin_write_report with a picture of the host. A map
 * over two axes has "distribution", "json" and "summary".
 *
 * Settings: "title", "amplitude_label", "cutoff" and "percentiles", as of vorin_write_report.
 *
 *   form        in   the text's form
 *   inversions  in   count results of vorin_invert, or one of vorin_invert2d
 *   bootstraps  in   count results of vorin_bootstrap, each of the inversion of that place, or
 *                    null; null for none at all
 *   names       in   count texts, the names of the decays, or null for "decay"
 *   count       in   by value, 1 or above; only "json" and "table" take several
 *   picture     in   SVG for "report", placed in the page as it is; null for none
 *   settings    in   the handle; null for all defaults
 *   result      out  address of a handle; free it by vorin_result_free
 *   message     out  as above
 *   message_size  in  as above
 *   returns  VORIN_TOOLKIT_OK, VORIN_TOOLKIT_BAD_INPUT or VORIN_TOOLKIT_NO_MEMORY */
VORIN_TOOLKIT_API int32_t VORIN_TOOLKIT_CALL vorin_write_text(
    const char* form, const vorin_result* const* inversions, const vorin_result* const* bootstraps,
    const char* const* names, int64_t count, const char* picture, const vorin_settings* settings,
    vorin_result** result, char* message, int64_t message_size) VORIN_TOOLKIT_NOEXCEPT;

/* ------------------------------------------------------------------------
 * Maps of many decays
 *
 * The voxels of an image, the depths of a log, the profile of a core: very many decays at the
 * same times. What they share is computed once; blocks of voxels go in, a row of samples for
 * each, and arrays of what was found come out, an element for each voxel. All numbers of a
 * voxel are those that vorin_invert gives for its samples, to the last bit. A voxel that can't
 * be inverted has a status and not-a-number, and never ends the job.
 *
 * Settings: all of vorin_invert but "log", and "cutoff" (between the ranges of "share"),
 * "distribution" ("on" keeps the distributions), "threshold" (voxels without a sample of this
 * magnitude are left out), "threads" (1; 0 is one for each processor).
 * ------------------------------------------------------------------------ */

/* Statuses of voxels; vorin_map_describe tells them in words. */
enum {
  VORIN_TOOLKIT_VOXEL_OK = 0,
  VORIN_TOOLKIT_VOXEL_MASKED = 1,          /* outside the mask */
  VORIN_TOOLKIT_VOXEL_BELOW_THRESHOLD = 2, /* no sample is as large as the threshold */
  VORIN_TOOLKIT_VOXEL_NOT_FINITE = 3,      /* a sample is infinite or not a number */
  VORIN_TOOLKIT_VOXEL_ALL_ZERO = 4,        /* every sample is 0 */
  VORIN_TOOLKIT_VOXEL_NO_NOISE = 5,        /* no noise to choose a weight by, and none is given */
  VORIN_TOOLKIT_VOXEL_NOISE_TOO_LARGE = 6, /* the noise given is no less than the largest sample */
  VORIN_TOOLKIT_VOXEL_NOT_CONVERGED = 7,   /* solver or weight search ran out of passes */
  VORIN_TOOLKIT_VOXEL_WEIGHT_LIMIT = 8,    /* the search stopped at a limit of the weight */
  VORIN_TOOLKIT_VOXEL_NO_SIGNAL = 9,       /* there is no signal above the noise */
  VORIN_TOOLKIT_VOXEL_NOT_DESCRIBED = 10   /* the kernel can't describe the samples */
};

/* Prepares the inversion of voxels with samples at these times. The handle may be used by any
 * number of threads at once.
 *
 *   settings  in   the handle; null for all defaults
 *   times     in   samples numbers, rising from 0 or above
 *   samples   in   by value, 2 or above
 *   map       out  address of a handle; free it by vorin_map_free
 *   message   out  as above
 *   message_size  in  as above
 *   returns  VORIN_TOOLKIT_OK, VORIN_TOOLKIT_BAD_INPUT for settings that fit no voxel, or
 *            VORIN_TOOLKIT_NO_MEMORY */
VORIN_TOOLKIT_API int32_t VORIN_TOOLKIT_CALL
vorin_map_create(const vorin_settings* settings, const double* times, int64_t samples,
                 vorin_map** map, char* message, int64_t message_size) VORIN_TOOLKIT_NOEXCEPT;

/* Frees a map. Its results stay valid.
 *
 *   map  in and out  the handle; null has no effect */
VORIN_TOOLKIT_API void VORIN_TOOLKIT_CALL vorin_map_free(vorin_map* map) VORIN_TOOLKIT_NOEXCEPT;

/* Describes what a map takes and gives. Numbers of the result: "samples" (of a voxel), "points"
 * (of the grid), "ranges" (of "share"; 0 without cutoffs), "keeps_flip" (1 for the kernel
 * "t2-epg"), "keeps_distribution". Arrays: "grid", "range_edges" (0, the cutoffs, infinity; empty
 * without cutoffs). Lists of texts: "status_words" and "status_meanings", by status from 0.
 *
 *   map      in   the handle
 *   result   out  address of a handle; free it by vorin_result_free
 *   message  out  as above
 *   message_size  in  as above
 *   returns  VORIN_TOOLKIT_OK, VORIN_TOOLKIT_BAD_INPUT or VORIN_TOOLKIT_NO_MEMORY */
VORIN_TOOLKIT_API int32_t VORIN_TOOLKIT_CALL
vorin_map_describe(const vorin_map* map, vorin_result** result, char* message,
                   int64_t message_size) VORIN_TOOLKIT_NOEXCEPT;

/* Inverts a block of voxels. Arrays of the result, an element for each voxel: "total",
 * "log_mean", "weight", "noise", "signal_to_noise", "standard_error" (as of vorin_invert) and
 * "status" (of this section); for the kernel "t2-epg" "flip" (degrees); "share", voxels x ranges:
 * the part of the total in each range; and, with the setting "distribution", "distribution", voxels
 * x points. Both are row-major. The result does not depend on how voxels are divided into blocks,
 * nor on the count of threads.
 *
 *   map       in   the handle
 *   samples   in   voxels x samples numbers, row-major: the address of floats or doubles
 *   bytes     in   of a number of samples, by value: 4 for floats, 8 for doubles
 *   voxels    in   by value, 0 or above
 *   mask      in   voxels numbers, 0 for what is not inverted; null for none
 *   noise     in   voxels standard deviations of the noise in the unit of the data, above 0;
 *                  not-a-number leaves a voxel to the settings; null for none
 *   flip      in   with the setting "flip" at "estimate": voxels refocusing angles in degrees,
 *                  above 0 and below 360, taken to the nearest degree; of not-a-number the angle
 *                  is estimated; null for none
 *   progress  in   called with the voxels done and their total; null for none
 *   user      in   passed to progress
 *   result    out  address of a handle; free it by vorin_result_free
 *   message   out  as above
 *   message_size  in  as above
 *   returns  VORIN_TOOLKIT_OK, VORIN_TOOLKIT_BAD_INPUT, VORIN_TOOLKIT_CANCELLED or
 *            VORIN_TOOLKIT_NO_MEMORY */
VORIN_TOOLKIT_API int32_t VORIN_TOOLKIT_CALL vorin_map_invert(
    const vorin_map* map, const void* samples, int32_t bytes, int64_t voxels, const uint8_t* mask,
    const double* noise, const double* flip, vorin_progress progress, void* user,
    vorin_result** result, char* message, int64_t message_size) VORIN_TOOLKIT_NOEXCEPT;

/* Adds those voxels of a block that would be inverted (inside the mask, finite, not all 0, not
 * below the threshold) to the sums of a mean decay, one after the other.
 *
 *   map      in   the handle
 *   samples  in   as of vorin_map_invert
 *   bytes    in   as of vorin_map_invert
 *   voxels   in   as of vorin_map_invert
 *   mask     in   as of vorin_map_invert
 *   sums     in and out  a number for each sample of a voxel; begin with 0
 *   count    in and out  the voxels that the sums hold; begin with 0
 *   message  out  as above
 *   message_size  in  as above
 *   returns  VORIN_TOOLKIT_OK, VORIN_TOOLKIT_BAD_INPUT or VORIN_TOOLKIT_NO_MEMORY */
VORIN_TOOLKIT_API int32_t VORIN_TOOLKIT_CALL vorin_map_add_to_mean(
    const vorin_map* map, const void* samples, int32_t bytes, int64_t voxels, const uint8_t* mask,
    double* sums, int64_t* count, char* message, int64_t message_size) VORIN_TOOLKIT_NOEXCEPT;

/* One weight for all voxels: that at which vorin_invert inverts their mean decay. The mean has
 * less noise than a voxel, and a weight by its own noise is smaller than that of a voxel; with
 * the noise of one voxel as the setting "noise", the weight is the one for it.
 *
 *   settings  in   the handle; null for all defaults
 *   times     in   samples numbers, as of vorin_map_create
 *   mean      in   samples numbers, the mean decay
 *   samples   in   by value, 2 or above
 *   weight    out  the number for the setting "weight"; one that is set already is returned
 *   message   out  as above
 *   message_size  in  as above
 *   returns  VORIN_TOOLKIT_OK, VORIN_TOOLKIT_BAD_INPUT where the mean can't be inverted, or
 *            VORIN_TOOLKIT_NO_MEMORY */
VORIN_TOOLKIT_API int32_t VORIN_TOOLKIT_CALL vorin_map_shared_weight(
    const vorin_settings* settings, const double* times, const double* mean, int64_t samples,
    double* weight, char* message, int64_t message_size) VORIN_TOOLKIT_NOEXCEPT;

/* ------------------------------------------------------------------------
 * Maps over two axes
 *
 * T1-T2, T2-T2 and D-T2 experiments. Samples are a matrix with a row for each value of the
 * first axis and a column for each of the second, by rows. A map is a matrix with a row
 * for each value of "grid1" and a column for each of "grid2". Settings of both axes end in
 * 1 and 2: "kernel1" ("t1-inversion"), "kernel2" ("t2"), "grid1", "grid2" (64 values
 * where the data have signal).
 * ------------------------------------------------------------------------ */

/* Inverts the samples D of a two-dimensional experiment: finds the F of 0 or above that
 * minimises
 *
 *     1/2 |K1 F K2' - D|^2  +  w/2 |F|^2
 *
 * on the factors of both kernels (Venkataramanan, Song and Huerlimann, IEEE Trans. Signal
 * Process. 50, 1017, 2002), by damped Newton steps on the dual problem. Settings: "kernel1",
 * "kernel2", "grid1", "grid2", "weight" ("noise", "corner" or w), "noise" (a number,
 * "projection" or "quadrature"). Complex data are turned by one phase, and their real
 * channel is inverted.
 *
 * Numbers of the result: "status" (0 success, 1 not optimal, 2 the aim can't be reached, 3
 * the best map is 0 everywhere), "success", "weight", "noise", "wanted_standard_error",
 * "standard_error", "closest_standard_error" (all three of the compressed rows), "rows",
 * "duality_gap", "iterations" (weights looked at), "passes" (Newton steps), "phase",
 * "total", "log_mean1", "log_mean2". Texts: "kernel1", "kernel2", "weight_origin",
 * "noise_origin", "status_text". Arrays: "samples" (as inverted), "grid1", "grid2",
 * "distribution" (by rows), "projection1", "projection2", and, an element for each peak,
 * the largest share first, "peak_position1", "peak_position2", "peak_share",
 * "peak_log_mean1", "peak_log_mean2", "peak_width1", "peak_width2" (decades),
 * "peak_at_grid_end".
 *
 *   settings   in   the handle; null has all defaults
 *   times1     in   count1 numbers, rising from 0 or above: times, or b values
 *   count1     in   by value, 2 or above
 *   times2     in   count2 numbers, rising from 0 or above
 *   count2     in   by value, 2 or above
 *   real       in   count1 x count2 samples, by rows
 *   imaginary  in   count1 x count2 samples of the imaginary channel, or null for real data
 *   progress   in   called now and then with a part done of 1000; null for none
 *   user       in   handed to progress
 *   result     out  address of a handle; free it by vorin_result_free. An inversion that
 *                   did not succeed has one too: look at "success".
 *   message    out  as above
 *   message_size  in  as above
 *   returns  VORIN_TOOLKIT_OK, VORIN_TOOLKIT_BAD_INPUT, VORIN_TOOLKIT_CANCELLED or
 *            VORIN_TOOLKIT_NO_MEMORY */
VORIN_TOOLKIT_API int32_t VORIN_TOOLKIT_CALL vorin_invert2d(
    const vorin_settings* settings, const double* times1, int64_t count1, const double* times2,
    int64_t count2, const double* real, const double* imaginary, vorin_progress progress,
    void* user, vorin_result** result, char* message, int64_t message_size) VORIN_TOOLKIT_NOEXCEPT;

/* The fit of a map: K1 F K2' at the samples.
 *
 *   inversion  in   a result of vorin_invert2d
 *   fit        out  as many numbers as there are samples, by rows
 *   message    out  as above
 *   message_size  in  as above
 *   returns  VORIN_TOOLKIT_OK, VORIN_TOOLKIT_BAD_INPUT or VORIN_TOOLKIT_NO_MEMORY */
VORIN_TOOLKIT_API int32_t VORIN_TOOLKIT_CALL vorin_fit2d(const vorin_result* inversion, double* fit,
                                                         char* message, int64_t message_size)
    VORIN_TOOLKIT_NOEXCEPT;

/* Tells how far peaks and regions of a map are to be trusted: inverts its fit with noise
 * drawn anew from its residual, many times over (Efron, Ann. Stat. 7, 1, 1979), at its
 * weight. Settings: "replicates" (200), "seed" (1).
 *
 * Number of the result: "replicates" (inverted with success). Arrays with the limits of the
 * middle 68 %, an element for each peak in the order of vorin_invert2d: "peak_share_lower",
 * "peak_share_upper", "peak_log_mean1_lower", "peak_log_mean1_upper",
 * "peak_log_mean2_lower", "peak_log_mean2_upper"; and the same for each region, with
 * "region" in place of "peak".
 *
 *   inversion  in   a result of vorin_invert2d
 *   settings   in   the handle; null has all defaults
 *   regions    in   region_count x 4, by rows: from and to on the first axis, from and to
 *                   on the second, both rising from above 0
 *   region_count  in  by value, 0 or above
 *   progress   in   called after each replicate; null for none
 *   user       in   handed to progress
 *   result     out  address of a handle; free it by vorin_result_free
 *   message    out  as above
 *   message_size  in  as above
 *   returns  VORIN_TOOLKIT_OK, VORIN_TOOLKIT_BAD_INPUT, VORIN_TOOLKIT_CANCELLED or
 *            VORIN_TOOLKIT_NO_MEMORY */
VORIN_TOOLKIT_API int32_t VORIN_TOOLKIT_CALL vorin_bootstrap2d(
    const vorin_result* inversion, const vorin_settings* settings, const double* regions,
    int64_t region_count, vorin_progress progress, void* user, vorin_result** result, char* message,
    int64_t message_size) VORIN_TOOLKIT_NOEXCEPT;

/* What is read off a map: the numbers "total", "log_mean1", "log_mean2" and the arrays
 * "projection1", "projection2", "peak_position1" and so on of vorin_invert2d.
 *
 *   grid1           in   points1 numbers, rising from above 0
 *   points1         in   by value, 1 or above
 *   grid2           in   points2 numbers, rising from above 0
 *   points2         in   by value, 1 or above
 *   distribution    in   points1 x points2 amplitudes by rows, 0 or above
 *   smallest_share  in   peaks of a smaller share are left out, by value
 *   result          out  address of a handle; free it by vorin_result_free
 *   message         out  as above
 *   message_size    in   as above
 *   returns  VORIN_TOOLKIT_OK, VORIN_TOOLKIT_BAD_INPUT or VORIN_TOOLKIT_NO_MEMORY */
VORIN_TOOLKIT_API int32_t VORIN_TOOLKIT_CALL
vorin_measures2d(const double* grid1, int64_t points1, const double* grid2, int64_t points2,
                 const double* distribution, double smallest_share, vorin_result** result,
                 char* message, int64_t message_size) VORIN_TOOLKIT_NOEXCEPT;

/* The part of a map's total that lies in a rectangle. A grid value takes the interval half
 * way to its neighbours in the logarithm; cells at an edge count by their part inside.
 *
 *   grid1         in   points1 numbers, rising from above 0
 *   points1       in   by value, 1 or above
 *   grid2         in   points2 numbers, rising from above 0
 *   points2       in   by value, 1 or above
 *   distribution  in   points1 x points2 amplitudes by rows, 0 or above
 *   region        in   4 numbers: from and to on the first axis, from and to on the second
 *   share         out  0 to 1; not-a-number for a map that is 0 everywhere
 *   message       out  as above
 *   message_size  in   as above
 *   returns  VORIN_TOOLKIT_OK, VORIN_TOOLKIT_BAD_INPUT or VORIN_TOOLKIT_NO_MEMORY */
VORIN_TOOLKIT_API int32_t VORIN_TOOLKIT_CALL
vorin_share2d(const double* grid1, int64_t points1, const double* grid2, int64_t points2,
              const double* distribution, const double* region, double* share, char* message,
              int64_t message_size) VORIN_TOOLKIT_NOEXCEPT;

/* Computed two-dimensional data with known truth: peaks that are normal in the logarithms of
 * both axes, put through both kernels, with normal noise. Settings: "kernel1", "kernel2",
 * "grid1", "grid2" (of the truth; 100 values, 0.1 ms to 10 s or 1e-12 to 1e-7 m2/s), "sigma"
 * (of the noise; 0.5), "seed" (1), "phase" (radians; complex data, noise in both channels).
 * One seed gives the same noise on every machine.
 *
 * Arrays of the result: "samples", "imaginary" (with "phase" only), "grid1", "grid2",
 * "distribution".
 *
 *   settings    in   the handle; null has all defaults
 *   times1      in   count1 numbers, rising from 0 or above
 *   count1      in   by value, 2 or above
 *   times2      in   count2 numbers, rising from 0 or above
 *   count2      in   by value, 2 or above
 *   peaks       in   peak_count x 4, by rows: centres on both axes, standard deviation in
 *                    decades, total amplitude, all above 0
 *   peak_count  in   by value
 *   result      out  address of a handle; free it by vorin_result_free
 *   message     out  as above
 *   message_size  in  as above
 *   returns  VORIN_TOOLKIT_OK, VORIN_TOOLKIT_BAD_INPUT or VORIN_TOOLKIT_NO_MEMORY */
VORIN_TOOLKIT_API int32_t VORIN_TOOLKIT_CALL
vorin_simulate2d(const vorin_settings* settings, const double* times1, int64_t count1,
                 const double* times2, int64_t count2, const double* peaks, int64_t peak_count,
                 vorin_result** result, char* message, int64_t message_size) VORIN_TOOLKIT_NOEXCEPT;

/* Reads two-dimensional data, as the command does: a matrix whose first row holds the values
 * of the second axis and whose first column those of the first; a plain matrix, with the
 * settings "times1" and "times2"; either as text or as an array of numpy's (.npy); or the
 * T1IRT2.dat or folder of a Spinsolve. Settings:
 * "times1", "times2", "imaginary" (files), "time_unit1", "time_unit2", "kernel1",
 * "kernel2" (whose abscissae the axes are).
 *
 * Arrays of the result: "times1", "times2", "samples" (by rows) and, for complex data,
 * "imaginary".
 *
 *   path      in   of the file
 *   settings  in   the handle; null has all defaults
 *   result    out  address of a handle; free it by vorin_result_free
 *   message   out  as above
 *   message_size  in  as above
 *   returns  VORIN_TOOLKIT_OK, VORIN_TOOLKIT_BAD_INPUT or VORIN_TOOLKIT_NO_MEMORY */
VORIN_TOOLKIT_API int32_t VORIN_TOOLKIT_CALL
vorin_read2d(const char* path, const vorin_settings* settings, vorin_result** result, char* message,
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
 *   matrix   out  samples x points, row-major
 *   message  out  as above
 *   message_size  in  as above
 *   returns  VORIN_TOOLKIT_OK or VORIN_TOOLKIT_BAD_INPUT */
VORIN_TOOLKIT_API int32_t VORIN_TOOLKIT_CALL vorin_kernel_matrix(
    const char* kernel, const double* times, int64_t samples, const double* grid, int64_t points,
    double* matrix, char* message, int64_t message_size) VORIN_TOOLKIT_NOEXCEPT;

/* The axes of a picture of an inversion: a result with the texts "abscissa_label" ("time
 * (ms)"), "abscissa_unit" ("ms"), "grid_label" ("relaxation time T2 (ms)"), "grid_unit",
 * and the numbers "abscissa_unit_size" (SI units in one of it: 0.001), "grid_unit_size".
 *
 *   kernel         in   its name, or "own" for a matrix of the caller
 *   last_abscissa  in   the last sample time or b value, by value
 *   last_on_grid   in   the last value of the grid, by value
 *   result         out  address of a handle; free it by vorin_result_free
 *   message        out  as above
 *   message_size   in   as above
 *   returns  VORIN_TOOLKIT_OK, VORIN_TOOLKIT_BAD_INPUT or VORIN_TOOLKIT_NO_MEMORY */
VORIN_TOOLKIT_API int32_t VORIN_TOOLKIT_CALL vorin_picture_axes(
    const char* kernel, double last_abscissa, double last_on_grid, vorin_result** result,
    char* message, int64_t message_size) VORIN_TOOLKIT_NOEXCEPT;

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

/* The default grid of an inversion for samples at these times: a result with the array
 * "grid".
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
 *   noise    out  not-a-number for too few samples and for differences of 0
 *   message  out  as above
 *   message_size  in  as above
 *   returns  VORIN_TOOLKIT_OK or VORIN_TOOLKIT_BAD_INPUT */
VORIN_TOOLKIT_API int32_t VORIN_TOOLKIT_CALL
vorin_difference_noise(const double* times, const double* real, int64_t samples, double* noise,
                       char* message, int64_t message_size) VORIN_TOOLKIT_NOEXCEPT;

/* Corrects the phase of complex samples: rotates them by the angle that minimises the sum
 * of squares of the imaginary channel. Of the two such angles it takes the one that makes
 * the sum of the real channel positive; for "t1-inversion", the last sample.
 *
 *   kernel     in   its name
 *   real       in and out  samples amplitudes
 *   imaginary  in and out  samples amplitudes
 *   samples    in   by value, 2 or above
 *   phase      out  the angle of the data in radians
 *   noise      out  the standard deviation of the corrected imaginary channel about its
 *                   mean; not-a-number where it is 0
 *   message    out  as above
 *   message_size  in  as above
 *   returns  VORIN_TOOLKIT_OK or VORIN_TOOLKIT_BAD_INPUT */
VORIN_TOOLKIT_API int32_t VORIN_TOOLKIT_CALL vorin_phase_correct(
    const char* kernel, double* real, double* imaginary, int64_t samples, double* phase,
    double* noise, char* message, int64_t message_size) VORIN_TOOLKIT_NOEXCEPT;

/* A computed decay with known truth: peaks that are normal in log10 T, put through a
 * kernel, with normal noise. Settings: "kernel", "grid" (of the truth; 0.1 ms to 10 s,
 * 200 values), "sigma" (of the noise; 0.2), "seed" (1), "phase" (radians; complex data,
 * noise in both channels). One seed gives the same noise on every machine.
 *
 * Arrays of the result: "time", "amplitude", "imaginary" (with "phase" only), "grid",
 * "distribution". Numbers: "log_mean" of the truth, "noise".
 *
 *   settings  in   the handle; null for all defaults
 *   times     in   samples numbers, rising from 0 or above; null for 3000 times at a
 *                  spacing of 0.2 ms
 *   samples   in   by value, 2 or above; 0 with null
 *   peaks     in   peak_count x 3, row-major: centre in the grid's unit, standard deviation
 *                  in decades, total amplitude, all above 0; null for two peaks, 8 ms of
 *                  amplitude 30 and 90 ms of 70, both 0.15 decades wide
 *   peak_count  in  by value; 0 with null
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

/* Measures of a distribution. Numbers of the result: "total", "log_mean", "mean"
 * (arithmetic). Arrays, an element for each peak by rising position: "peak_position",
 * "peak_width" (decades), "peak_share" (of the total), "peak_at_grid_end", "peak_centre"
 * (centre of gravity in the logarithm), "peak_amount"; and, an element for each value of the
 * grid, "per_decade": the amplitude over the width of the grid around it, in decades, and
 * "cumulative": the sum of the amplitudes up to and with it.
 *
 *   grid            in   points numbers, rising from above 0
 *   distribution    in   points amplitudes, 0 or above
 *   points          in   by value, 1 or above
 *   smallest_share  in   peaks of a smaller share are omitted, by value
 *   result          out  address of a handle; free it by vorin_result_free
 *   message         out  as above
 *   message_size    in   as above
 *   returns  VORIN_TOOLKIT_OK, VORIN_TOOLKIT_BAD_INPUT or VORIN_TOOLKIT_NO_MEMORY */
VORIN_TOOLKIT_API int32_t VORIN_TOOLKIT_CALL vorin_measures(
    const double* grid, const double* distribution, int64_t points, double smallest_share,
    vorin_result** result, char* message, int64_t message_size) VORIN_TOOLKIT_NOEXCEPT;

/* The measures of a distribution that a report gives, with their intervals by a bootstrap
 * where one is given. A grid value has the interval half way to its neighbours in the
 * logarithm, over which its amplitude is spread evenly, so a cutoff within it divides the
 * amplitude in proportion to the logarithm.
 *
 * Numbers of the result: "total", "mean" (arithmetic), "log_mean". Arrays: "part_amount" and
 * "part_share" (of the total), what lies below the first cutoff, between neighbouring ones and
 * above the last, one more than cutoffs, none without; "percentile", the values at and below
 * which these percentages of the total lie; and for each peak "peak_position", "peak_centre",
 * "peak_width", "peak_amount", "peak_share". With replicates each has its 68 % interval in two
 * fields of the same name with "_lower" and "_upper" behind it.
 *
 *   grid              in   points numbers, rising from above 0
 *   distribution      in   points amplitudes, 0 or above
 *   points            in   by value, 1 or above
 *   cutoffs           in   cutoff_count numbers, rising from above 0; null with 0
 *   cutoff_count      in   by value
 *   percentiles       in   percentile_count numbers, rising from above 0 to below 100; null
 *                          with 0
 *   percentile_count  in   by value
 *   replicates        in   replicate_count x points amplitudes, row-major: "distributions" of
 *                          vorin_bootstrap; null with 0
 *   replicate_count   in   by value; 0 for no intervals
 *   interval_factor   in   that of vorin_bootstrap, by value; ignored without replicates
 *   result            out  address of a handle; free it by vorin_result_free
 *   message           out  as above
 *   message_size      in   as above
 *   returns  VORIN_TOOLKIT_OK, VORIN_TOOLKIT_BAD_INPUT or VORIN_TOOLKIT_NO_MEMORY */
VORIN_TOOLKIT_API int32_t VORIN_TOOLKIT_CALL vorin_report_measures(
    const double* grid, const double* distribution, int64_t points, const double* cutoffs,
    int64_t cutoff_count, const double* percentiles, int64_t percentile_count,
    const double* replicates, int64_t replicate_count, double interval_factor,
    vorin_result** result, char* message, int64_t message_size) VORIN_TOOLKIT_NOEXCEPT;

/* Reads the decay, or the decays, in a file, as the command does: text of any layout, the
 * containers and the formats of instruments that docs/reading.md lists. Settings: "columns"
 * (as "1,2" or "time,re,im"; a third column is an imaginary channel only when it is named or
 * the format says so; "1,2..40" for many decays), "time_unit" (overrides the file's),
 * "spacing", "header_lines", "kernel" (whose abscissa the first column is).
 *
 * Arrays of the result: "time" in SI units, "amplitude" and, for complex data, "imaginary";
 * for many decays one behind the other, "sizes" holds the number of samples of each and the
 * list of texts "names" their columns. What was found: the texts "format", "columns", "unit"
 * and "unit_origin" and the list of texts "notes", a sentence each on rows that were left
 * out, sorted or averaged and on values that look odd.
 *
 *   path      in   of the file
 *   settings  in   the handle; null for all defaults
 *   result    out  address of a handle; free it by vorin_result_free
 *   message   out  as above
 *   message_size  in  as above
 *   returns  VORIN_TOOLKIT_OK, VORIN_TOOLKIT_BAD_INPUT or VORIN_TOOLKIT_NO_MEMORY */
VORIN_TOOLKIT_API int32_t VORIN_TOOLKIT_CALL
vorin_read_decay(const char* path, const vorin_settings* settings, vorin_result** result,
                 char* message, int64_t message_size) VORIN_TOOLKIT_NOEXCEPT;

/* Lists the keys of the numerical library: a result with the lists of texts "key",
 * "kind" (whole number, number, text or choice), "range", "unit", "meaning", "value" (when the
 * library has been loaded) and the array "settable".
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
