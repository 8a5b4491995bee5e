// The quadratic-program solver behind the third route of a solve.
#pragma once

#include <cstdint>

namespace vorin::brd {

/// The status words of nk0000. Above 30, so that a host which finds one in the
/// status of an inversion can't take it for another outcome.
enum QpStatus : std::int32_t {
  qpSolved = 0,
  qpInfeasible = 31,           ///< no x meets all constraints
  qpNotPositiveDefinite = 32,  ///< Q, or a block of it that is needed, has no Cholesky
                               ///< factor in double precision; also a NaN in Q, or a
                               ///< solution that overflows
  qpLimitReached = 33          ///< out of steps, or out of the range of the numbers: x is
                               ///< the last iterate and not the minimiser
};

/// The minimiser of 1/2 x'Qx + g'x subject to A x >= b, for a symmetric positive
/// definite Q. The first `equalities` constraints hold with equality.
///
/// With the identity for A and zeros for b (x >= 0, no equalities) only those blocks of
/// Q are factored that belong to positive elements, so that a Hessian which is positive
/// definite by less than its rounding error can still be solved; elements at their bound are
/// exactly 0. Any other constraints go to the dual method of Goldfarb and Idnani.
///
///   n            in   variables; below 1 counts as none
///   constraints  in   rows of A; below 1 counts as none
///   equalities   in   how many of them are equalities, counted from the first
///   A            in   constraints x n, column-major: constraint i is row i, element (i, j)
///                     at i + j * constraints. Overwritten.
///   b            in   constraints: the bounds
///   g            in   n: linear term
///   Q            in   n x n, symmetric: Hessian
///   objective    out  1/2 x'Qx + g'x
///   x            out  n: the minimiser; after a failure the last iterate, or zeros when
///                     there was none. Never a NaN.
///   activeCount  out  number of constraints in the active set, at most n. Of linearly
///                     dependent ones that all hold with equality some are left out.
///   activeList   out  n: their numbers, counted from 1; zeros behind them
///   multipliers  out  n: theirs, in the order of the list: Qx + g is the sum of multiplier
///                     times row of A; not below 0 for inequalities; zeros behind them
///   status       out  one of the values above
///
/// Ends on every input.
void nk0000(std::int32_t n, std::int32_t constraints, std::int32_t equalities, double* A,
            const double* b, const double* g, const double* Q, double* objective, double* x,
            std::int32_t* activeCount, std::int32_t* activeList, double* multipliers,
            std::int32_t* status);

}  // namespace vorin::brd
