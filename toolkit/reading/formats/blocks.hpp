// Series of free decays: each is reduced to one number.
#pragma once

#include <complex>
#include <cstddef>
#include <vector>

#include "toolkit/reading/columns.hpp"

namespace vorin::toolkit {

/// `samples` holds one free decay of `length` points after another. Each becomes one complex
/// number: its mean, weighted by the shape that all of them share, which is the first right
/// singular vector v of the matrix of decays,
///
///     A_b = sum_k s_b(k) conj(v(k)) / sum_k |v(k)|
///
/// Of decays that differ in amplitude alone this is the amplitude, up to a common factor, with the
/// least noise (Eckart and Young, Psychometrika 1, 211, 1936), also where the line is off
/// resonance. The phase is such that the largest point of v is real and positive.
ColumnNumbers blockAmplitudes(const std::vector<std::complex<double>>& samples, std::size_t length);

}  // namespace vorin::toolkit
