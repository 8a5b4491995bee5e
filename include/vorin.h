/* Vorin: from a measured decay to a distribution of relaxation times.
 *
 * A host hands in a decay Y of nf samples and a kernel matrix K of nf rows and
 * ng columns, which maps ng grid amplitudes onto the samples, and gets back the
 * non-negative distribution F that fits the decay under quadratic regularisation:
 *
 *     minimise over F >= 0:   1/2 |K F - Y|^2  +  w/2 |F|^2
 *
 * by the iteration of Butler, Reeds and Dawson (SIAM J. Numer. Anal. 18, 381,
 * 1981). The library chooses the weight w, or the host gives it; the key TARG decides.
 * The host computes the kernel: the library knows nothing of times and units, so every
 * array is in the unit that the host uses.
 *
 * BEFORE THE FIRST INVERSION: set the noise. The library takes it from the key SIG, which
 * holds 0.01 in the unit of the data, unless the key NALG names an estimator or TARG another
 * choice of the weight. Section "Inversion" has the details.
 *
 * Contents, in the order of this file
 *
 *   Status of an inversion
 *   Inversion                    Vorin_s, Voriny_s, Vorin_d, vorin_s_cdecl
 *   Inversion after compression  VorinC_s, VorinC2_s, VorinC4_s, VorinC5_s, VorinyC_s,
 *                                VorinyC2_s, VorinyC3_s, VorinyC4_s, VorinyC5_s
 *   Parameters                   vorinSQC99, VorinSQR, VorinSQR_s, VorinSQR_d, VorinSQI,
 *                                VorinSQC, VorinSQC2, vorin_sqc_cdecl, vorin_sqr_cdecl;
 *                                the table of all keys
 *   One solve at one weight      vrBRDw_sp_dll, vrBRDw_dp_dll
 *   Corner search                vorinTarget2_sp, vorinTarget2_dp
 *   Pruning                      VorinPruneZ, VorinPrune, VorinPrune2
 *   SVD compression              VorinCompSVD_s, VorinCompSVD2_s, VorinCompSVD3_s,
 *                                VorinCompSVD3z_s, VorinComp_s
 *   Noise measures               VorinSEDiff, VorinSEROL
 *   The save section             the text that an inversion can append to the log
 *   Text                         CHGetFormat_dp, CHToString_dp, CHToString3_dp,
 *                                CHToString_i4b
 *   Regression                   plsN_dll, plsB_dll, plsReg_DLL, LUReg_DLL
 *   Plain sums                   sum, fadd_i4b_dll, fadd_dp_dll, sadd_i4b_dll, sadd_dp_dll
 *   Stubs                        debug2_sp, debug2_dp
 *
 * Conventions of every function here:
 *  - Matrices are column-major: element (i, j), counted from 0, of a matrix with leading
 *    dimension ld is at offset i + j * ld.
 *  - Integers are 32-bit signed. The prototype shows what goes by value and what by
 *    address; a comment repeats the shape of the array at an address.
 *  - Text is an address and a length, padded with blanks, with no terminator.
 *  - Nothing throws, prints or ends the process on a numerical failure, and
 *    arguments are not checked. A status word reports the outcome; outputs are
 *    delivered also after a failure, with the last values that exist.
 *  - There is no status for a work array that the system refuses: the process ends by
 *    std::terminate on std::bad_alloc, as it does in a C++ host's own code, and a
 *    terminate handler of the host's is called first.
 *  - All calls use library-wide state, above all the parameter block: make one call
 *    at a time. The library starts no thread.
 *
 * The header compiles as C99 and as C++. */
#ifndef VORIN_H
#define VORIN_H

#include <stdint.h>

#if defined(_WIN32)
#if defined(VORIN_BUILDING_LIBRARY)
#define VORIN_API /* a definition file lists the exports, under both their names */
#else
#define VORIN_API __declspec(dllimport)
#endif
#define VORIN_CALL __stdcall
#define VORIN_CDECL __cdecl
#else
#define VORIN_API __attribute__((visibility("default")))
#define VORIN_CALL
#define VORIN_CDECL
#endif

#ifdef __cplusplus
#define VORIN_NOEXCEPT noexcept
extern "C" {
#else
#define VORIN_NOEXCEPT
#endif

/* ------------------------------------------------------------------------
 * Status of an inversion
 * ------------------------------------------------------------------------ */

/* The values a status word holds after Vorin_s and the entries like it. With BRDA = 3 and a fixed
 * weight (TARG = "WEIG"), a failed solve leaves a VORIN_QP_ value of "One solve" below. */
enum {
  VORIN_OK = 0,                  /* converged, or the one solve succeeded */
  VORIN_SOLVER_FAILED = 1,       /* the BRD iteration ran out of passes or stalled */
  VORIN_SEARCH_EXHAUSTED = 2,    /* the weight search ran out of iterations (WITE) */
  VORIN_LOWER_WEIGHT_LIMIT = 21, /* the search touched the lower weight limit three times */
  VORIN_UPPER_WEIGHT_LIMIT = 22, /* the search touched the upper weight limit three times */
  VORIN_CORNER_MODE = 999 /* always so in corner mode (TARG = "2"), with a result all the same */
};

/* ------------------------------------------------------------------------
 * Inversion
 *
 * The weight of an inversion follows from the noise of the data (TARG = "NOISE", the load
 * value), and by default that noise is not estimated. It is the key SIG, which holds 0.01 in
 * the unit of Y until the host sets it; NALG names no estimator as loaded ("U") and after a
 * reset ("URF"). On data whose noise is far from 0.01 the distribution is then far too rough
 * or far too smooth. Do one of these before the first inversion:
 *
 *    set SIG   to the standard deviation of the noise, in the unit of Y
 *    set NALG  to "UREG" or "FIT" (residual of a non-negative fit without penalty), "REG"
 *              (the same with a light ridge penalty) or "ASYM" (scan of falling weights);
 *              for the entries with compression also "D2" or "D3" (differences of
 *              neighbouring samples, CSI2)
 *    set TARG  to "2" (corner of the curve of solution norm against residual) or to "WEIG"
 *              (the weight that WEIG holds)
 *
 * The weight is searched for at which the root mean square residual reaches the standard
 * error wanted, DSE (the discrepancy principle: Morozov, Soviet Math. Dokl. 7, 414, 1966).
 * With sig for the noise and rms for the root mean square of the data,
 *
 *    DSE = min(RSIG * sig, L1AL * rms + (1 - L1AL) * sig)
 *
 * and "ASYM" sets DSE by a rule of its own. RSIG is 1.05 as loaded, and the reset operation
 * sets it to 0.2, which asks for a residual below the noise: set RSIG after a reset.
 * ------------------------------------------------------------------------ */

/* Inverts one decay, with the settings of the parameter block: prunes the data
 * (PRMO, PRPO), chooses the weight (TARG) and solves. By default the weight is the one at
 * which the residual is just over the noise that SIG states. Results beside F are queried by
 * key afterwards: CSTA, CWEI, CSE, CSIG, DSE, CITE, CWIT.
 *
 *   nf      in   number of data points, by value
 *   ng      in   number of grid points, by value
 *   K       in   kernel, nf x ng, column-major, leading dimension nf
 *   Y       in   measured data, nf, in the host's unit
 *   F       in and out  distribution, ng, in the unit of Y; never negative on return.
 *                It holds the last distribution also after a failure.
 *   status  out  VORIN_OK or another value of the table of the status of an inversion
 *
 * The pruning runs on the point index 1 .. nf as abscissa; Voriny_s takes the
 * host's own. A decay sampled at even spacing needs no more than this entry. */
VORIN_API void VORIN_CALL Vorin_s(int32_t nf, int32_t ng, const float* K, const float* Y, float* F,
                                  int32_t* status) VORIN_NOEXCEPT;

/* As Vorin_s, with the arrays that Vorin_s fills in by itself given by the host.
 *
 *   nf, ng                 in   sizes, by value
 *   nfAddress, ngAddress   in   the same sizes, by address; the two forms must agree
 *   K       in   kernel, nf x ng, column-major, leading dimension nf
 *   T       in   abscissa of each data point, nf, rising, in the host's unit; used by
 *                the pruning. Logarithmic bins (PRMO = "LOG") require T[0] above 0.
 *   Y       in   measured data, nf, in the host's unit
 *   W       out  weights of the data points, nf; every call sets them to 1
 *   G       in   grid abscissae, ng, for the save section only
 *   F       in and out  distribution, ng, in the unit of Y; never negative on return
 *   FIT     out  K F on all nf points, in the unit of Y, also after a failure
 *   status  out  VORIN_OK or another value, as for Vorin_s */
VORIN_API void VORIN_CALL Voriny_s(int32_t nf, int32_t ng, const int32_t* nfAddress,
                                   const int32_t* ngAddress, const float* K, const float* T,
                                   const float* Y, float* W, const float* G, float* F, float* FIT,
                                   int32_t* status) VORIN_NOEXCEPT;

/* As Vorin_s for a host that works in double precision. K and Y are rounded to
 * single precision into copies and stay as they are; F is rounded on the way in
 * and widened on the way out. */
VORIN_API void VORIN_CALL Vorin_d(int32_t nf, int32_t ng, const double* K, const double* Y,
                                  double* F, int32_t* status) VORIN_NOEXCEPT;

/* Vorin_s for hosts of the C calling convention. */
VORIN_API void VORIN_CDECL vorin_s_cdecl(int32_t nf, int32_t ng, const float* K, const float* Y,
                                         float* F, int32_t* status) VORIN_NOEXCEPT;

/* ------------------------------------------------------------------------
 * Inversion after compression
 *
 * Five variants of one driver, C and C2 to C5. They solve the same problem with the same
 * arguments, and add a stage: before the weight is chosen, a truncated singular value
 * decomposition may reduce the problem to a few rows (Hansen, BIT 27, 534, 1987), alone
 * (PRMO = "NONE") or after pruning. SVDN above 0 requests it and is the most rows to
 * keep; SVDT drops those whose singular value is not above SVDT times the largest (its
 * load value 999 drops all but one: set both).
 * They also store a noise estimate from differences of neighbouring samples in CSI2
 * (first differences when NALG is "D2", else second ones), which NALG "D2" and "D3"
 * make the noise of the inversion.
 *
 * The variants differ as follows. C allocates its work arrays at each call, C2 to C5 keep
 * theirs while nf, ng and the rows planned stay the same. C2 to C5 limit PRPO
 * differently (C3 to C5: at most nf/2, at least ng). C5 rejects outliers when L2MO is
 * 1: points that a non-negative fit misses by L2NS noise deviations or more; it also
 * writes the save section above REPO 3 and closes the log. After the others the log
 * stays open until the next inversion.
 * ------------------------------------------------------------------------ */

/* Arguments and status as for Vorin_s. */
VORIN_API void VORIN_CALL VorinC_s(int32_t nf, int32_t ng, const float* K, const float* Y, float* F,
                                   int32_t* status) VORIN_NOEXCEPT;
VORIN_API void VORIN_CALL VorinC2_s(int32_t nf, int32_t ng, const float* K, const float* Y,
                                    float* F, int32_t* status) VORIN_NOEXCEPT;
VORIN_API void VORIN_CALL VorinC4_s(int32_t nf, int32_t ng, const float* K, const float* Y,
                                    float* F, int32_t* status) VORIN_NOEXCEPT;
VORIN_API void VORIN_CALL VorinC5_s(int32_t nf, int32_t ng, const float* K, const float* Y,
                                    float* F, int32_t* status) VORIN_NOEXCEPT;

/* Arguments and status as for Voriny_s. W comes back as 1 everywhere; after VorinyC5_s
 * with L2MO at 1, points taken for outliers have 1000000. */
VORIN_API void VORIN_CALL VorinyC_s(int32_t nf, int32_t ng, const int32_t* nfAddress,
                                    const int32_t* ngAddress, const float* K, const float* T,
                                    const float* Y, float* W, const float* G, float* F, float* FIT,
                                    int32_t* status) VORIN_NOEXCEPT;
VORIN_API void VORIN_CALL VorinyC2_s(int32_t nf, int32_t ng, const int32_t* nfAddress,
                                     const int32_t* ngAddress, const float* K, const float* T,
                                     const float* Y, float* W, const float* G, float* F, float* FIT,
                                     int32_t* status) VORIN_NOEXCEPT;
VORIN_API void VORIN_CALL VorinyC3_s(int32_t nf, int32_t ng, const int32_t* nfAddress,
                                     const int32_t* ngAddress, const float* K, const float* T,
                                     const float* Y, float* W, const float* G, float* F, float* FIT,
                                     int32_t* status) VORIN_NOEXCEPT;
VORIN_API void VORIN_CALL VorinyC4_s(int32_t nf, int32_t ng, const int32_t* nfAddress,
                                     const int32_t* ngAddress, const float* K, const float* T,
                                     const float* Y, float* W, const float* G, float* F, float* FIT,
                                     int32_t* status) VORIN_NOEXCEPT;
VORIN_API void VORIN_CALL VorinyC5_s(int32_t nf, int32_t ng, const int32_t* nfAddress,
                                     const int32_t* ngAddress, const float* K, const float* T,
                                     const float* Y, float* W, const float* G, float* F, float* FIT,
                                     int32_t* status) VORIN_NOEXCEPT;

/* ------------------------------------------------------------------------
 * Parameters: set and query by four-letter keys
 *
 * The keys, with the value that each has when the library has just been loaded and the value
 * that the reset operation I writes; a hyphen: the reset leaves the key as it is. A key is
 * compared on as many characters as it has here, so SIGX reaches SIG, and CSE2 reaches CSE.
 * Numbers are single-precision values, integers included, stored as they come.
 *
 *    key   loaded        reset    meaning
 *    REPO  1             2        reporting level of the log; above 3 a save section is written
 *                                 as well
 *    VERN  1056          -        version as a number; read-only
 *    VERS  "Vorin10.56"  -        version as a text; read-only
 *    SAVE  0             -        1: save section at the end of a call; 2: compact if the log is
 *                                 closed
 *    SAVF  1             -        stored and answered; no routine reads it
 *    FLOG  "Vorin"       "Vorin"  name of the log file
 *    PRAV  "DATA"        -        stored and answered; no routine reads it
 *    PRMO  "LOG"         "A"      mode of pruning
 *    PRLO  1             1        first data point of the pruning range
 *    PRHI  -1            -1       last data point of the pruning range; accepted, without effect
 *    PRPO  200           200      points wanted after pruning
 *    SVDT  999           -        threshold of the SVD compression
 *    SVDN  0             -        singular vectors kept by the SVD compression
 *    L2MO  0             -        1: VorinC5_s and VorinyC5_s reject outliers before the
 *                                 inversion
 *    L2NS  3             -        distance from the fit at which VorinC5_s and VorinyC5_s reject
 *                                 a point
 *    BRDA  2             -        route of the solver: 1 single, 3 quadratic program, else
 *                                 double
 *    TOL   1e-06         1e-06    convergence tolerance of the BRD iteration
 *    MAXI  50            50       limit of passes of the BRD iteration
 *    NALG  "U"           "URF"    algorithm of the noise estimate
 *    SIG   0.01          0.01     noise standard deviation that the host states
 *    RSIG  1.05          0.2      factor on the noise in the standard error wanted
 *    L1AL  0.05          -        mixing factor of data and noise in the standard error wanted
 *    TARG  "NOISE"       -        how the weight is chosen: from the noise, at the corner, or
 *                                 fixed
 *    WEIG  0.01          0.01     regularisation weight: start of the search, or fixed
 *    WITE  40            40       limit of iterations of the weight search
 *    WTOL  0.001         0.001    relative tolerance of the weight search on the residual
 *    STOL  0.005         -        read by the weight search, without effect
 *    WRAT  10            10       greatest factor by which one update moves the weight
 *    WFRA  1             1        fraction of the Newton step taken
 *    RWEI  0.1           -        factor on the weight after the corner search
 *    WREF  1             -        mean squared column norm that scales WNMI and WNMA
 *    WMIN  1e-30         -        lower limit of the weight
 *    WMAX  1e+30         -        upper limit of the weight
 *    WNMI  1e-30         -        lower limit of the weight in units of WREF
 *    WNMA  1e+30         -        upper limit of the weight in units of WREF
 *    CSTA  99            0        status of the last inversion
 *    CWEI  99            0        final weight
 *    CWIT  99            -        iterations of the weight search
 *    CITE  99            -        passes of the last solve
 *    CSIG  99            -        noise standard deviation in force at the end
 *    CSI2  99            -        noise estimate of the compressed drivers
 *    DSE   99            -        standard error wanted
 *    CSE   99            0        standard error reached
 *    EWIT  2             1        stored and answered; no routine reads it
 *    C1    0             0        stored and answered; no routine reads it
 *    C2    1             1        stored and answered; no routine reads it
 *
 * PRMO, NALG and TARG hold one of a few texts. A set takes the text by its first characters,
 * or with a blank text the number as a code; a query answers a code and a text.
 *
 *    PRMO  1 LOG bins evenly spaced in the logarithm, 2 LIN linear bins, 3 LILO every point
 *          before PRLO and logarithmic bins from there on, any other code or text NONE.
 *          The reset text A prunes as LOG does and answers 0, NONE.
 *    NALG  1 UREG, 2 ASYM, 3 REG, 4 D2, 5 D3, 99 ASY2, by text also FIT; any other code or
 *          text NONE. A query answers URF for UREG, ASYM for ASY2, and 0, N for FIT and NONE.
 *          ASY2 has no estimator: SIG is the noise, as for NONE. The texts U (as loaded) and
 *          URF (after a reset) have none either, and no set stores them: a set of U gives UREG.
 *    TARG  0 WEIG, 1 NOISE, 2 2 (the corner search), any other code or text NOISE
 * ------------------------------------------------------------------------ */

/* The status of a set, query or reset. An unknown key is no failure. */
enum {
  VORIN_SQ_OK = 0,
  VORIN_SQ_UNKNOWN_MODE = 1 /* the operation letter is not S, Q or I; nothing was done */
};

/* The length of the text argument of VorinSQC2. */
enum { VORIN_SQC2_TEXT_LENGTH = 32 };

/* Sets, queries or resets a parameter.
 *
 *   mode    in   one character: S sets, Q queries, I resets every key that has a
 *                reset value, whatever the key. Lower case works.
 *   key     in   four characters, padded with blanks; case does not matter. An
 *                unknown key does nothing.
 *   text    in on S, out on Q: *len characters. On Q it takes the value's text, cut
 *                or padded with blanks; an unknown key leaves blanks.
 *   len     in   the length of text, by address; 0 means no text, and so does a
 *                value below 0. Nothing outside the text is touched.
 *   value   in on S, out on Q: the number. A choice (PRMO, NALG, TARG) is set by its
 *                code when the text is blank, and answers its code.
 *   status  out  VORIN_SQ_OK or VORIN_SQ_UNKNOWN_MODE */
VORIN_API void VORIN_CDECL vorinSQC99(const char* mode, const char* key, char* text,
                                      const int32_t* len, float* value,
                                      int32_t* status) VORIN_NOEXCEPT;

/* Numbers: as vorinSQC99 with no text. VorinSQR_s is the same. */
VORIN_API void VORIN_CALL VorinSQR(const char* mode, const char* key, float* value,
                                   int32_t* status) VORIN_NOEXCEPT;
VORIN_API void VORIN_CALL VorinSQR_s(const char* mode, const char* key, float* value,
                                     int32_t* status) VORIN_NOEXCEPT;

/* As VorinSQR with mode S when mode is exactly S and with mode Q for anything
 * else, lower-case s and I included. In spite of its name, value addresses a
 * single-precision number. */
VORIN_API void VORIN_CALL VorinSQR_d(const char* mode, const char* key, float* value,
                                     int32_t* status) VORIN_NOEXCEPT;

/* Integers: as VorinSQR through a conversion. On mode Q, upper case only, value
 * takes the number plus 0.5 truncated toward zero, so that a negative one rounds
 * up: -1 answers 0. With lower-case q it is left unchanged. A number outside the
 * 32-bit range answers the nearest integer there is. */
VORIN_API void VORIN_CALL VorinSQI(const char* mode, const char* key, int32_t* value,
                                   int32_t* status) VORIN_NOEXCEPT;

/* Text: as vorinSQC99 without a number, for text keys only. A numeric key set
 * this way stores an undefined number (0 in this library). */
VORIN_API void VORIN_CALL VorinSQC(const char* mode, const char* key, char* text,
                                   const int32_t* len, int32_t* status) VORIN_NOEXCEPT;

/* As VorinSQC with a text of fixed length.
 *
 *   text    in on S, out on Q: VORIN_SQC2_TEXT_LENGTH (32) characters */
VORIN_API void VORIN_CALL VorinSQC2(const char* mode, const char* key, char* text,
                                    int32_t* status) VORIN_NOEXCEPT;

/* VorinSQC and VorinSQR for hosts of the C calling convention. */
VORIN_API void VORIN_CDECL vorin_sqc_cdecl(const char* mode, const char* key, char* text,
                                           const int32_t* len, int32_t* status) VORIN_NOEXCEPT;
VORIN_API void VORIN_CDECL vorin_sqr_cdecl(const char* mode, const char* key, float* value,
                                           int32_t* status) VORIN_NOEXCEPT;

/* ------------------------------------------------------------------------
 * One solve at one weight
 * ------------------------------------------------------------------------ */

/* The status of one solve on the two iterative routes (BRDA other than 3). */
enum {
  VORIN_SOLVE_OK = 0,
  VORIN_SOLVE_FAILED = 1 /* out of passes (MAXI) or stalled; the last values are delivered */
};

/* The status of one solve by the quadratic program (BRDA = 3, and the corner search).
 * After a failure f holds the last distribution reached, or zeros, and rss and rssSlope
 * belong to that. */
enum {
  VORIN_QP_OK = 0,
  VORIN_QP_NOT_DEFINITE = 32, /* K'K + weight I isn't positive definite where it must be (a
                               * weight below zero, or zero with dependent columns), or holds
                               * a NaN */
  VORIN_QP_LIMIT = 33         /* out of steps */
};

/* The distribution f >= 0 that minimises 1/2 |K f - d|^2 + weight/2 |f|^2, with no
 * pruning, scaling or weight search (Butler, Reeds and Dawson, SIAM J. Numer.
 * Anal. 18, 381, 1981). BRDA chooses the route: 1 iterates in single precision, 3
 * solves a quadratic program in double without iterating, any other value iterates in
 * double. Keys read: BRDA; on the iterating routes REPO, MAXI, TOL, and CITE, the
 * number of passes, is written.
 *
 *   m         in   rows of K, by value; 0 or less gives rss = rssSlope = 0
 *   n         in   columns of K, by value
 *   K         in   kernel, m x n, column-major
 *   d         in   data, m, in the host's unit
 *   f         out  distribution, n
 *   weight    in   regularisation weight, by address, in the unit of K squared;
 *                  must be positive for a defined result
 *   rss       out  residual sum of squares |K f - d|^2, as weight^2 (c . c) with the
 *                  dual vector c of the last pass
 *   rssSlope  out  the derivative of rss with respect to the weight
 *   status    out  VORIN_SOLVE_OK or VORIN_SOLVE_FAILED; with BRDA = 3 VORIN_QP_OK or
 *                  another VORIN_QP_ value. With BRDA = 3, f holds exact zeros and
 *                  values from 1e-15 up. */
VORIN_API void VORIN_CALL vrBRDw_sp_dll(int32_t m, int32_t n, const float* K, const float* d,
                                        float* f, const float* weight, float* rss, float* rssSlope,
                                        int32_t* status) VORIN_NOEXCEPT;
VORIN_API void VORIN_CALL vrBRDw_dp_dll(int32_t m, int32_t n, const double* K, const double* d,
                                        double* f, const double* weight, double* rss,
                                        double* rssSlope, int32_t* status) VORIN_NOEXCEPT;

/* ------------------------------------------------------------------------
 * Corner search: a weight without knowledge of the noise
 * ------------------------------------------------------------------------ */

/* Chooses the regularisation weight by the shape of the curve of log |f|^2 against
 * log rss and solves there (compare the L-curve of Hansen and O'Leary, SIAM J. Sci.
 * Comput. 14, 1487, 1993). A first solve gives the signal-to-noise ratio as the first
 * fitted point over the standard error of the fit; 17 solves at 10^e times
 * 50 |K|^2 / (m snr^2), for e from -2 to 2 in steps of 0.25 and |K|^2 the sum of all
 * squared elements, give the curve; the point of the curve where it turns most sharply towards the
 * left is the corner, the one of smallest weight among equals. On a curve without such a
 * turn, the last point is taken. All solves are direct, by the quadratic program,
 * and in double precision whatever BRDA says; no key is read or written and nothing is
 * logged. TARG = "2" runs this search in an inversion.
 *
 *   m         in   rows of K, by value
 *   n         in   columns of K, by value
 *   K         in   kernel, m x n, column-major
 *   d         in   data, m, in the host's unit. The first point should be where the
 *                  signal is large: it serves as the signal in the ratio.
 *   f         out  distribution at the corner, n; exact zeros and values from 1e-15 up
 *   w         out  weight of the corner, by address, in the unit of K squared; not read
 *   rss       out  residual sum of squares |K f - d|^2 there
 *   rssSlope  out  the derivative of rss with respect to the weight
 *   status    out  VORIN_QP_OK or another VORIN_QP_ value, of the solve at the corner
 *                  alone
 *
 * The weight is 0, infinite or not a number, and the other results follow it, when the
 * first solve leaves no residual, when its first point is 0, or when the data or the
 * kernel are zero or m is below 1. f holds numbers in each case. */
VORIN_API void VORIN_CALL vorinTarget2_sp(int32_t m, int32_t n, const float* K, const float* d,
                                          float* f, float* w, float* rss, float* rssSlope,
                                          int32_t* status) VORIN_NOEXCEPT;
VORIN_API void VORIN_CALL vorinTarget2_dp(int32_t m, int32_t n, const double* K, const double* d,
                                          double* f, double* w, double* rss, double* rssSlope,
                                          int32_t* status) VORIN_NOEXCEPT;

/* ------------------------------------------------------------------------
 * Pruning: fewer data points before an inversion
 * ------------------------------------------------------------------------ */

/* How VorinPruneZ spaces its bins. */
enum {
  VORIN_PRUNE_LOG = 1,    /* logarithmic over the whole range */
  VORIN_PRUNE_LINEAR = 2, /* linear over the whole range */
  VORIN_PRUNE_LEADING = 3 /* points before prLo one by one, logarithmic from there on */
};

/* The status of a pruning. There is only one. */
enum { VORIN_PRUNE_DONE = 0 };

/* Divides the sample axis into bins and returns the linear map P from the data to one
 * value for each non-empty bin: pruned data = P y, and pruned kernel = P K,
 * which the caller forms. Row k is the sum over bin k divided by its norm
 * s_k = sqrt(sum of scale^2), so with scale 1 the noise of a pruned value is that
 * of a single point. A point exactly on an edge counts in both bins; points below
 * -1e20 are left out. The edges are computed again, nine times at most, until the
 * count is target.
 *
 *   nPoints   in   number of points, by value
 *   ldPoints  in   columns of P, at least nPoints, by value
 *   maxBins   in   capacity of the bin arrays and leading dimension of P, by value
 *   y         in   data, nPoints
 *   t         in   position of each point, ldPoints, rising; above 0 for modes 1 and 3
 *   scale     in   scale of each point, nPoints (1 for equal noise)
 *   prLo      in   1-based index of the point at which the bins begin, by value;
 *                  outside 1 .. nPoints the first point
 *   prHi      in   by value; accepted and without influence
 *   target    in   wanted count, by value; limited to maxBins
 *   mode      in   one of the constants above, by value
 *   count     out  number of pruned rows. The last of them is always empty: a zero
 *                  row with datum 0, so count is one more than the filled bins.
 *   yPruned   out  pruned data, maxBins; 0 from the last row on
 *   tSum      out  sum of t over each bin, maxBins; the first count are set
 *   binNorm   out  bin norms s_k, maxBins; 1e-10 from the empty row on
 *   P         out  the map, maxBins x ldPoints, column-major
 *   status    out  always VORIN_PRUNE_DONE */
VORIN_API void VORIN_CALL VorinPruneZ(int32_t nPoints, int32_t ldPoints, int32_t maxBins,
                                      const float* y, const float* t, const float* scale,
                                      int32_t prLo, int32_t prHi, int32_t target, int32_t mode,
                                      int32_t* count, float* yPruned, float* tSum, float* binNorm,
                                      float* P, int32_t* status) VORIN_NOEXCEPT;

/* As VorinPruneZ with the pruned kernel formed, mean positions, one try at target bins
 * and no empty row: count is the number of bins that hold points. With scale v,
 *
 *     P(k, i) = 1 / s_k in bin k,  s_k = sqrt(sum of v^2),  yPruned = P y,  kPruned = P k.
 *
 *   nCols     in   columns of the kernel, by value
 *   nPoints   in   number of points, by value
 *   ldPoints  in   capacity of the point arrays and columns of P, at least nPoints, by value
 *   maxBins   in   capacity of the bin arrays, leading dimension of P and kPruned, by value
 *   y         in   data, nPoints
 *   t         in   position of each point, ldPoints, rising; above 0 for mode 1
 *   k         in   kernel, ldPoints x nCols, column-major
 *   scale     in   scale v of each point, nPoints
 *   prLo      in   1-based index of the point at which the bins begin, by value;
 *                  outside 1 .. nPoints the first point
 *   prHi      in   by value; accepted and without influence
 *   target    in   number of bins, by value; limited to maxBins
 *   mode      in   VORIN_PRUNE_LOG or VORIN_PRUNE_LINEAR, by value; any other value makes
 *                  no bins, and count is 0
 *   count     out  number of pruned rows. When no bin holds a point it is the number of
 *                  bins made, over a pruned problem of zeros.
 *   yPruned   out  pruned data, maxBins; 0 past count
 *   tMean     out  (sum of t over the bin) / s_k^2, maxBins: with v = 1 the mean position;
 *                  0 past count
 *   kPruned   out  pruned kernel, maxBins x nCols, column-major; 0 past count
 *   binNorm   out  s_k, maxBins; at least 1e-10, and that past count
 *   P         out  the map, maxBins x ldPoints, column-major
 *   status    out  always VORIN_PRUNE_DONE */
VORIN_API void VORIN_CALL VorinPrune(int32_t nCols, int32_t nPoints, int32_t ldPoints,
                                     int32_t maxBins, const float* y, const float* t,
                                     const float* k, const float* scale, int32_t prLo, int32_t prHi,
                                     int32_t target, int32_t mode, int32_t* count, float* yPruned,
                                     float* tMean, float* kPruned, float* binNorm, float* P,
                                     int32_t* status) VORIN_NOEXCEPT;

/* As VorinPrune for points of unequal noise, with up to nine tries at the edges as
 * VorinPruneZ makes them. Data and kernel rows are divided by the scale before they are
 * summed, and bins by the root of their number of points n_k, so that with v the standard
 * deviation of each point every pruned value has noise 1:
 *
 *     P(k, i) = 1 / sqrt(n_k) in bin k,  yPruned = P (y / v),  kPruned = P (k / v).
 *
 * Arguments as for VorinPrune, but for:
 *   scale     in   scale v of each point, nPoints; a 0 gives an infinite result in its bins
 *                  and NaN in the others
 *   target    in   wanted count, by value, at most maxBins. A search that succeeds leaves
 *                  target - 1 bins with points.
 *   count     in and out  the bins with points, or what it held if that is more: set it
 *                  to 0 before the call. Rows without points, up to a greater value,
 *                  are not numbers.
 *   tMean     out  mean position of each bin, maxBins
 *   binNorm   out  1 / (sum over the bin of P / v), maxBins; at least 1e-10, and that past
 *                  count */
VORIN_API void VORIN_CALL VorinPrune2(int32_t nCols, int32_t nPoints, int32_t ldPoints,
                                      int32_t maxBins, const float* y, const float* t,
                                      const float* k, const float* scale, int32_t prLo,
                                      int32_t prHi, int32_t target, int32_t mode, int32_t* count,
                                      float* yPruned, float* tMean, float* kPruned, float* binNorm,
                                      float* P, int32_t* status) VORIN_NOEXCEPT;

/* ------------------------------------------------------------------------
 * SVD compression: fewer kernel rows before an inversion
 * ------------------------------------------------------------------------ */

/* The status of a compression. */
enum {
  VORIN_COMP_OK = 0,
  VORIN_COMP_ROWS_ABOVE_CAPACITY = 2, /* SVDN above ldC; nothing was written */
  VORIN_COMP_SCRATCH_TOO_SMALL = 1000 /* VorinCompSVD3_s only; nothing was written */
};

/* The mode of VorinCompSVD3_s and VorinCompSVD3z_s that decomposes K; any other one
 * uses the factors that an earlier call left. */
enum { VORIN_COMP_DECOMPOSE = 1 };

/* Replaces K and d by a small problem with the same minimiser (Hansen, BIT 27, 534,
 * 1987): with the singular value decomposition K = U S V',
 *
 *     Kc = S V',   dc = U' d,
 *
 * cut after the last row, of the first min(n, SVDN), whose singular value is above
 * SVDT times the largest. For every f, |Kc f - dc|^2 differs from |K f - d|^2 by a
 * constant, up to the rows cut.
 *
 * One row is always kept: with SVDN below 1, with SVDT at 1 or above, and for a
 * kernel of zeros. SVDT below 0 keeps all min(n, SVDN). With m below n the missing
 * singular values are 0. A kernel that is not finite gives one row that is not a
 * number.
 *
 *   m       in   rows of K in use and length of d, by value
 *   n       in   columns of K, by value
 *   ldK     in   leading dimension of K, at least m, by value
 *   ldC     in   leading dimension of Kc, at least n, by value; SVDN may not be above it
 *   K       in   kernel, ldK x n, column-major
 *   d       in   data, m, in the host's unit
 *   SVDT    in   threshold relative to the largest singular value, by value
 *   SVDN    in   most rows to keep, by value
 *   count   out  rows kept
 *   Kc      out  compressed kernel, ldC x n, column-major; rows above count are 0 up to
 *                row n, rows past n are left alone. Kc may be K.
 *   dc      out  compressed data, n; elements above count are 0. dc may be d, when d
 *                has room for n.
 *   status  out  VORIN_COMP_OK or VORIN_COMP_ROWS_ABOVE_CAPACITY
 *
 * The factors are kept in arrays of the library, which stay allocated while m and n stay
 * the same. */
VORIN_API void VORIN_CALL VorinCompSVD_s(int32_t m, int32_t n, int32_t ldK, int32_t ldC,
                                         const float* K, const float* d, float SVDT, int32_t SVDN,
                                         int32_t* count, float* Kc, float* dc,
                                         int32_t* status) VORIN_NOEXCEPT;

/* As VorinCompSVD_s without the cut, with the factors handed to the host.
 *
 *   K       in and out  kernel; on return its m rows hold U
 *   SVDT    in   accepted and without influence
 *   SVDN    in   refused above ldC, and otherwise only repeated in count
 *   count   out  SVDN as given, although all n rows of Kc and dc are filled
 *   V       out  n x n with leading dimension ldC: V, not its transpose
 *   S       out  singular values, n, the largest first
 * Neither Kc nor V may be K. */
VORIN_API void VORIN_CALL VorinCompSVD2_s(int32_t m, int32_t n, int32_t ldK, int32_t ldC, float* K,
                                          const float* d, float SVDT, int32_t SVDN, int32_t* count,
                                          float* Kc, float* dc, float* V, float* S,
                                          int32_t* status) VORIN_NOEXCEPT;

/* As VorinCompSVD_s, with everything by address and the factors in an array of the
 * host's, so that a second data vector on the same kernel needs no decomposition.
 *
 *   mode        in   VORIN_COMP_DECOMPOSE, or any other value when scratch holds the
 *                    factors of an earlier call with the same K, m and n; K is then
 *                    not read
 *   scratchLen  in   length of scratch, n + n * n + n * m at least
 *   m           in   rows of K in use and length of d, by address
 *   n           in   columns of K, by address
 *   ldK         in   leading dimension of K, at least m, by address
 *   ldC         in   leading dimension of Kc, at least n, by address
 *   SVDT        in   threshold relative to the largest singular value, by address
 *   SVDN        in   most rows to keep, at most ldC, by address
 *   scratch     in and out  S (n), then U (m x n), then V' (n x n)
 *   status      out  a VORIN_COMP_ value; the scratch is checked before SVDN. With a
 *                    mode other than VORIN_COMP_DECOMPOSE it is written on a refusal
 *                    only: set it before such a call. */
VORIN_API void VORIN_CALL VorinCompSVD3_s(const int32_t* mode, const int32_t* scratchLen,
                                          const int32_t* m, const int32_t* n, const int32_t* ldK,
                                          const int32_t* ldC, const float* K, const float* d,
                                          const float* SVDT, const int32_t* SVDN, int32_t* count,
                                          float* Kc, float* dc, float* scratch,
                                          int32_t* status) VORIN_NOEXCEPT;

/* As VorinCompSVD3_s, with an array of the host's for each factor. They are written with
 * VORIN_COMP_DECOMPOSE and read otherwise.
 *
 *   mode    in   VORIN_COMP_DECOMPOSE, or any other value when U, VT and S hold the factors
 *                of an earlier call with the same K, m and n; K is then not read
 *   U       in and out  left singular vectors, m x n, column-major, contiguous
 *   VT      in and out  V', n x n, column-major, contiguous
 *   S       in and out  singular values, n, the largest first
 *   status  out  VORIN_COMP_OK or VORIN_COMP_ROWS_ABOVE_CAPACITY. With a mode other than
 *                VORIN_COMP_DECOMPOSE it is written on a refusal only. */
VORIN_API void VORIN_CALL VorinCompSVD3z_s(const int32_t* mode, const int32_t* m, const int32_t* n,
                                           const int32_t* ldK, const int32_t* ldC, const float* K,
                                           const float* d, const float* SVDT, const int32_t* SVDN,
                                           int32_t* count, float* Kc, float* dc, float* U,
                                           float* VT, float* S, int32_t* status) VORIN_NOEXCEPT;

/* Pruning by VorinPruneZ and compression by VorinCompSVD_s, either or both, without an
 * inversion. With pmode and SVDN both below 1 nothing is written, status included.
 *
 *   n       in   columns of the kernel, by value
 *   nf      in   data points, by value
 *   ldK     in   leading dimension of K, at least nf, by value
 *   cap     in   most rows of the reduced problem and leading dimension of Kout, by value
 *   Y       in   data, nf, in the host's unit
 *   T       in   position of each point, ldK, rising; above 0 for logarithmic bins. Those
 *                from nf on may set where the range of the bins begins, as the ldPoints
 *                positions of VorinPruneZ do.
 *   K       in   kernel, ldK x n, column-major
 *   W       in   scale of each point, nf, as for VorinPruneZ
 *   first   in   1-based index of the point at which the bins begin, by value
 *   last    in   by value; accepted and without influence
 *   want    in   wanted count of pruned rows, by value
 *   pmode   in   a VORIN_PRUNE_ constant, by value; below 1 there is no pruning
 *   SVDT    in   threshold of the compression, by value
 *   SVDN    in   most rows to keep, by value; below 1 there is no compression
 *   count   out  rows of the reduced problem. From pruning alone the last row is empty.
 *   Yout    out  reduced data, cap
 *   Kout    out  reduced kernel, cap x n, column-major. From pruning alone the rows past
 *                count are left alone, from a compression they are 0 up to row n.
 *   status  out  VORIN_COMP_OK, or VORIN_COMP_ROWS_ABOVE_CAPACITY with SVDN above cap:
 *                count, Yout and Kout are then those of the pruning, if there was one */
VORIN_API void VORIN_CALL VorinComp_s(int32_t n, int32_t nf, int32_t ldK, int32_t cap,
                                      const float* Y, const float* T, const float* K,
                                      const float* W, int32_t first, int32_t last, int32_t want,
                                      int32_t pmode, float SVDT, int32_t SVDN, int32_t* count,
                                      float* Yout, float* Kout, int32_t* status) VORIN_NOEXCEPT;

/* ------------------------------------------------------------------------
 * Noise measures without an inversion
 * ------------------------------------------------------------------------ */

/* The differences that VorinSEDiff takes. */
enum { VORIN_SEDIFF_FIRST = 2, VORIN_SEDIFF_SECOND = 3 };

/* The standard deviation of white noise on a curve that changes slowly, from the
 * differences of neighbouring samples (first ones: von Neumann, Kent, Bellinson and Hart,
 * Ann. Math. Stat. 12, 153, 1941; second ones compare Gasser, Sroka and
 * Jennen-Steinmetz, Biometrika 73, 625, 1986):
 *
 *     sqrt(mean of (x[i+1] - x[i])^2 / 2)               for VORIN_SEDIFF_FIRST
 *     sqrt(mean of (x[i] - 2 x[i+1] + x[i+2])^2 / 6)    for VORIN_SEDIFF_SECOND
 *
 *   order    in   one of the constants above, by value; any other gives 0
 *   count    in   number of samples, by value. One sample too few for a difference (1, or
 *                 2 for second differences) gives not a number, fewer give 0.
 *   x        in   samples, count
 *   returns  the deviation, in the unit of x */
VORIN_API float VORIN_CALL VorinSEDiff(int32_t order, int32_t count, const float* x) VORIN_NOEXCEPT;

/* The status of VorinSEROL, which is that of its fit. */
enum {
  VORIN_SEROL_FITTED = 0,
  VORIN_SEROL_EMPTY = 1,          /* n is below 1: x is untouched, the fit counts as 0 */
  VORIN_SEROL_ITERATION_LIMIT = 4 /* x is the last solve as it came, negative elements included */
};

/* Finds outliers: fits y / W by x >= 0 under a light ridge penalty, by BVLS (Lawson and
 * Hanson, SIAM Classics in Applied Mathematics 15, 1995, appendix C), and flags each
 * point whose residual is below thresh times the noise s,
 *
 *     |K x - y|[i] / s  <  thresh,   s = VorinSEDiff(VORIN_SEDIFF_SECOND, m, y / W).
 *
 * The residual is in the unit of y and s in that of y / W, so with scales other than
 * 1 the threshold is one of their ratio. Everything is by address.
 *
 *   thresh  in   threshold in units of the noise
 *   ridge   in   weight of the ridge, relative to the mean squared column norm of K / W
 *   lda     in   leading dimension of K, at least m
 *   m       in   rows in use
 *   n       in   columns
 *   K       in   kernel, lda x n, column-major
 *   y       in   data, m, in the host's unit
 *   W       in   scale of each data point, m, not 0
 *   x       out  coefficients of the fit, n
 *   flags   out  m: 1 for a point below the threshold, 0 for an outlier. A point on
 *                the threshold is an outlier; one whose residual or noise is not a
 *                number is none.
 *   nGood   out  how many flags are 1, summed in single precision
 *   nBad    out  m - nGood
 *   spare   -    not used; any address is allowed
 *   status  out  a VORIN_SEROL_ value; the flags are formed whatever it is */
VORIN_API void VORIN_CALL VorinSEROL(const float* thresh, const float* ridge, const int32_t* lda,
                                     const int32_t* m, const int32_t* n, const float* K,
                                     const float* y, const float* W, float* x, float* flags,
                                     int32_t* nGood, int32_t* nBad, void* spare,
                                     int32_t* status) VORIN_NOEXCEPT;

/* ------------------------------------------------------------------------
 * The save section
 *
 * With SAVE = 1 or REPO above 3, Voriny_s and the entries that lead to it end by
 * writing the inversion as text, behind the last line of the log:
 *
 *    " !  Vorin save1"
 *    " [PARAM]"  "nf" and the number of grid points, "ng" and the number of data
 *                points (the reverse of the names here), then 32 keys, each in 4
 *                columns, three blanks, and what a query answers as text
 *    " [COEF]"   one line per grid point: G, F, F
 *    " [DATA]"   one line per data point: T, Y, FIT
 *    " [K]"      one line per data point: its row of K, each value a blank and 12 columns
 *                with 5 significant places
 *    " [EOF]"
 *
 * with empty lines between the parts. Each number of [COEF] and [DATA] takes a
 * blank and 16 columns and reads back as the same float. With REPO at 0 the log is
 * closed by then, and there is no section.
 *
 * When the log could not be opened, SAVE = 2 with REPO above 3 leaves a compact form
 * instead, of comma-separated fields without K and FIT, in a file beside the log: the
 * log's name with .sav for its extension ("Vorin.sav" by default), rewritten by each
 * such call. If that file can't be opened either, there is no section. The library
 * writes no other file.
 * ------------------------------------------------------------------------ */

/* ------------------------------------------------------------------------
 * Text: numbers in fields of characters, for hosts without formatted output
 *
 * A text is *len characters, blank-padded or cut; a length of 0 or below means no
 * text, and nothing outside is written. These calls read no key and write no log.
 * ------------------------------------------------------------------------ */

/* The status of CHGetFormat_dp. There is only one. */
enum { VORIN_FORMAT_DONE = 0 };

/* A format that shows all of an array's values in w columns: (I8) when each of them
 * lies within 2e-12 of an integer, as those of an empty array do; otherwise
 * (G 8. 2), general notation with w - 6 significant places, both numbers in two
 * columns and as stars when they need more. The format is cut after 8 characters.
 *
 *   values  in   count numbers
 *   count   in   how many, by value; 0 or below means none
 *   w       in   columns wanted, by address; not checked
 *   text    out  the format, *len characters
 *   len     in   length of text, by address; 8 hold every format
 *   status  out  always VORIN_FORMAT_DONE */
VORIN_API void VORIN_CALL CHGetFormat_dp(const double* values, int32_t count, const int32_t* w,
                                         char* text, const int32_t* len,
                                         int32_t* status) VORIN_NOEXCEPT;

/* A number as text of at most 32 characters.
 *
 * Within 2e-12 of an integer, that integer in int(log10|value|) + 2 columns, so with
 * a blank or the sign in front (" 1000"); zero in one column ("0"). An integer that
 * needs more than 32 columns, from 1e31 on, shows 32 stars. A negative value that only
 * rounding brings to a power of ten fills its columns with stars.
 *
 * Off the integers, as CHToString3_dp with w = 13, d = 6, lower = 0.1, upper = 1e6 and
 * fmin = 10: 10 columns in fixed notation ("  12.345600"), else 13 in exponent notation
 * (" 0.123450E-06"). Either reads back to 6 significant places. NaN and infinities
 * are shown by name.
 *
 *   text   out  the number, *len characters
 *   value  in   the number, by address
 *   len    in   length of text, by address; a shorter text than the columns loses the
 *               number's end, which 32 never do */
VORIN_API void VORIN_CALL CHToString_dp(char* text, const double* value,
                                        const int32_t* len) VORIN_NOEXCEPT;

/* A number as text in a notation that its magnitude decides.
 *
 * Exponent notation when |value| is below *lower or not below *upper: w columns with d
 * places (0.123450E-06), d counting as 0 when it is below. Otherwise fixed notation
 * in wf columns, the larger of fmin and w - 4 but at most w, with
 *
 *     (d - w) - (int(log10|value| + 0.5) + (1 for a negative value)) + 4 + wf
 *
 * decimals, at least 0 and at most wf - 2; int cuts off the fraction. A value too wide
 * for its columns shows stars in all of them. More than 32 columns show 32 stars,
 * and columns of 0 or below leave the text blank.
 *
 *   text          out  the number, *len characters
 *   value         in   the number, by address
 *   w, d          in   columns and places, by address
 *   lower, upper  in   the range of fixed notation, by address
 *   fmin          in   fewest columns in fixed notation, by address
 *   len           in   length of text, by address */
VORIN_API void VORIN_CALL CHToString3_dp(char* text, const double* value, const int32_t* w,
                                         const int32_t* d, const double* lower, const double* upper,
                                         const int32_t* fmin, const int32_t* len) VORIN_NOEXCEPT;

/* An integer as text, in as many columns as it has characters.
 *
 *   text   out  the digits, with a minus sign when negative, *len characters
 *   value  in   the integer, by address
 *   len    in   length of text, by address; 11 hold every integer */
VORIN_API void VORIN_CALL CHToString_i4b(char* text, const int32_t* value,
                                         const int32_t* len) VORIN_NOEXCEPT;

/* ------------------------------------------------------------------------
 * Regression: linear fits without the parameter block
 *
 * Four fits of a host's own matrix and data. They read no key and open no log.
 * Arrays are in double precision, column-major; three of the four work in single
 * precision, on copies rounded to the nearest, so that a value beyond the range of
 * a float becomes an infinity. The inputs are never written to. A size below 0
 * counts as 0.
 *
 * Each fit has status values of its own. After a failure x holds what the solver
 * left there; a solver that refuses the sizes leaves x untouched.
 * ------------------------------------------------------------------------ */

/* The status of plsN_dll: 1 is success. */
enum {
  VORIN_PLSN_SOLVED = 1,
  VORIN_PLSN_EMPTY = 2,          /* m or n is below 1 */
  VORIN_PLSN_ITERATION_LIMIT = 3 /* more than 3n solves; x is what the last complete one gave */
};

/* The status of plsB_dll: 0 is success. */
enum {
  VORIN_PLSB_SOLVED = 0,
  VORIN_PLSB_EMPTY = 1,          /* m or n is below 1 */
  VORIN_PLSB_ITERATION_LIMIT = 4 /* x is the last solve as it came, negative elements included */
};

/* The status of plsReg_DLL: 0 is success. */
enum {
  VORIN_PLSREG_SOLVED = 0,
  VORIN_PLSREG_EMPTY = 1,          /* n is below 1; m below 1 is no failure */
  VORIN_PLSREG_ITERATION_LIMIT = 4 /* x is the last solve as it came, negative elements included */
};

/* The status of LUReg_DLL. There is only one, and it says nothing about x. */
enum { VORIN_LUREG_DONE = 0 };

/* The x >= 0 that minimises |A x - b|, by NNLS (Lawson and Hanson, Solving Least
 * Squares Problems, Prentice-Hall 1974, chapter 23) in single precision. There is no
 * limit to give: the solver takes 3n solves at most. When it reaches them while a
 * log is open, left so by a compressed driver, it writes a line there.
 *
 *   A       in   matrix, m x n, column-major
 *   m, n    in   rows and columns of A, by value
 *   b       in   right-hand side, m, in the host's unit
 *   x       out  solution, n
 *   status  out  a VORIN_PLSN_ value */
VORIN_API void VORIN_CALL plsN_dll(const double* A, int32_t m, int32_t n, const double* b,
                                   double* x, int32_t* status) VORIN_NOEXCEPT;

/* The same problem, by BVLS (Lawson and Hanson, SIAM Classics in Applied Mathematics
 * 15, 1995, appendix C) in single precision, with a limit of the host's.
 *
 *   A       in   matrix, m x n, column-major
 *   m, n    in   rows and columns of A, by value
 *   b       in   right-hand side, m, in the host's unit
 *   x       out  solution, n
 *   itmax   in   limit on the solves, by value; below 3n, 0 included, it counts as 20n
 *   status  out  a VORIN_PLSB_ value */
VORIN_API void VORIN_CALL plsB_dll(const double* A, int32_t m, int32_t n, const double* b,
                                   double* x, int32_t itmax, int32_t* status) VORIN_NOEXCEPT;

/* A fit with penalties on differences of neighbouring coefficients (Phillips, J. ACM 9,
 * 84, 1962; Eilers and Marx, Stat. Sci. 11, 89, 1996), x >= 0, in double precision:
 *
 *     minimise over x >= 0:  |A x - c|
 *     A = X'X + sum over k = 0 .. K of lambda[k] D(k)'D(k),   c = X'y
 *
 * where D(k) takes the n - k forward differences of order k: lambda[0] is a ridge
 * term, lambda[1] weighs first differences, lambda[2] curvature. What is minimised is
 * the norm of the normal equations' residual, so the result differs from a
 * non-negative fit of X to y as soon as an element of x is held at 0.
 *
 *   X       in   design matrix, m x n, column-major
 *   m, n    in   rows and columns of X, by value; m below 1 leaves the penalties
 *                alone, with x = 0
 *   y       in   data, m, in the host's unit
 *   x       out  coefficients, n
 *   lambda  in   weights, K + 1, in the unit of X squared; an order of n or above has
 *                no effect
 *   K       in   highest order of difference, by value; below 0 there is no penalty
 *                and lambda is not read
 *   status  out  a VORIN_PLSREG_ value */
VORIN_API void VORIN_CALL plsReg_DLL(const double* X, int32_t m, int32_t n, const double* y,
                                     double* x, const double* lambda, int32_t K,
                                     int32_t* status) VORIN_NOEXCEPT;

/* The x of either sign that solves A x = c, with A and c as for plsReg_DLL but in
 * single precision, by LU with partial pivoting. A singular A is not noticed: x then
 * holds whatever the factors give, infinities and NaN included. Arguments as for
 * plsReg_DLL; n below 1 does nothing.
 *
 *   status  out  always VORIN_LUREG_DONE */
VORIN_API void VORIN_CALL LUReg_DLL(const double* X, int32_t m, int32_t n, const double* y,
                                    double* x, const double* lambda, int32_t K,
                                    int32_t* status) VORIN_NOEXCEPT;

/* ------------------------------------------------------------------------
 * Plain sums, to try the call interface of a host
 * ------------------------------------------------------------------------ */

/* a + b of two integers; all three do the same, fadd_dp_dll included, whose name says
 * otherwise.
 *
 *   a, b     in   integers, by value
 *   returns  a + b; a sum out of range wraps */
VORIN_API int32_t VORIN_CDECL sum(int32_t a, int32_t b) VORIN_NOEXCEPT;
VORIN_API int32_t VORIN_CDECL fadd_i4b_dll(int32_t a, int32_t b) VORIN_NOEXCEPT;
VORIN_API int32_t VORIN_CDECL fadd_dp_dll(int32_t a, int32_t b) VORIN_NOEXCEPT;

/* The sum of two integers, and of two doubles.
 *
 *   a, b    in   the numbers, by address
 *   result  out  a + b, by address; a sum of integers out of range wraps */
VORIN_API void VORIN_CDECL sadd_i4b_dll(const int32_t* a, const int32_t* b,
                                        int32_t* result) VORIN_NOEXCEPT;
VORIN_API void VORIN_CDECL sadd_dp_dll(const double* a, const double* b,
                                       double* result) VORIN_NOEXCEPT;

/* ------------------------------------------------------------------------
 * Stubs, to try the call interface of the corner search
 * ------------------------------------------------------------------------ */

/* Nothing is solved: f (n) becomes 0, rss, rssSlope and status become 0, and the rest
 * is not touched.
 *
 *   m, n      in   rows and columns of K, by value
 *   K, d      -    kernel (m x n, column-major) and data (m); not looked at
 *   f         out  n zeros
 *   w         -    the weight, left as it is
 *   rss       out  0
 *   rssSlope  out  0
 *   status    out  0, which is VORIN_SOLVE_OK */
VORIN_API void VORIN_CALL debug2_sp(int32_t m, int32_t n, const float* K, const float* d, float* f,
                                    float* w, float* rss, float* rssSlope,
                                    int32_t* status) VORIN_NOEXCEPT;
VORIN_API void VORIN_CALL debug2_dp(int32_t m, int32_t n, const double* K, const double* d,
                                    double* f, double* w, double* rss, double* rssSlope,
                                    int32_t* status) VORIN_NOEXCEPT;

#ifdef __cplusplus
}
#endif

#endif /* VORIN_H */
