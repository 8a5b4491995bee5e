// The noise of a smooth sampled curve from the differences of neighbouring samples
// (von Neumann, Kent, Bellinson and Hart, Ann. Math. Stat. 12, 153, 1941; second
// differences: Gasser, Sroka and Jennen-Steinmetz, Biometrika 73, 625, 1986).
#pragma once

namespace vorin::weight {

enum DifferenceOrder { firstDifferences = 2, secondDifferences = 3 };

/// The standard deviation of white noise on a curve that changes slowly from sample to
/// sample: a first difference has the variance 2 sigma^2, a second one 6 sigma^2, and
/// the root mean square of the differences is scaled accordingly.
///   order  a DifferenceOrder; any other value gives 0
///   count  number of samples. With as many samples as make no difference (1, or 2 for
///          second differences) the result is 0/0; with fewer it is 0.
/// All arithmetic is in single precision.
float seDiff(int order, int count, const float* x);

}  // namespace vorin::weight
