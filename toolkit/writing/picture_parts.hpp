// What the pictures of decays and distributions have in common: samples that can be seen, powers of
// ten of the axes, labels.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace vorin::toolkit {

/// True where the times spread over two decades or more: a linear axis would hide the start.
bool needsLogAxis(const std::vector<double>& time);

/// The indices of the samples that can be seen: of those which share a narrow column of the
/// picture the ones with the least and the greatest amplitude and residual. All of them where they
/// are few. `fit` may be empty.
std::vector<std::size_t> seenSamples(const std::vector<double>& time,
                                     const std::vector<double>& amplitude,
                                     const std::vector<double>& fit);

/// A power of ten by which an axis is divided, so that its labels stay short and of one kind.
struct AxisPower {
  double size = 1.0;
  std::string text;  ///< " / 10^{9}", which follows the label; empty for 1
};

AxisPower powerFor(double largest);

/// A label with its power behind it, for gnuplot's enhanced text: its own signs are escaped.
std::string withPower(const AxisPower& power, std::string_view label);

/// The greatest of 1, 2 and 5 times a power of ten that is not above `limit`, above 0.
double roundStep(double limit);

/// The least of them that is not below it.
double roundStepAbove(double limit);

/// Borders, tics and grid of every panel.
inline constexpr std::string_view panelScript = R"(set encoding utf8
set border 3 lw 1 lc rgb '#404040'
set tics nomirror out scale 0.6 textcolor rgb '#202020'
set grid xtics ytics lt 1 lw 0.6 lc rgb '#e2e2e2'
)";

/// The labelled values of a logarithmic axis: "set xtics (...)". `gap` is what a label takes of the
/// axis. Values from 100000 on and below 0.001 are powers of ten throughout, so that one axis has
/// one style.
std::string logTicsScript(char axis, double from, double to, double gap);

}  // namespace vorin::toolkit
