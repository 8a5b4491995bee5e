#include "toolkit/writing/axes.hpp"

#include <fmt/format.h>

#include <string_view>

namespace vorin::toolkit {

namespace {

std::string label(std::string_view name, const AxisUnit& unit) {
  return unit.name.empty() ? std::string(name) : fmt::format("{} ({})", name, unit.name);
}

}  // namespace

PictureAxes pictureAxes(Kernel kernel, double lastAbscissa, double lastOnGrid) {
  const Quantity abscissa = abscissaQuantity(kernel);
  const Quantity onGrid = gridQuantity(kernel);
  const AxisUnit unit = axisUnit(lastAbscissa, abscissa);
  const AxisUnit gridUnit = onGrid == abscissa ? unit : axisUnit(lastOnGrid, onGrid);
  return {unit, gridUnit, label(quantityName(abscissa), unit), label(gridName(kernel), gridUnit)};
}

}  // namespace vorin::toolkit
