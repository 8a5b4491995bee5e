#include "toolkit/reading/csv.hpp"

#include <fmt/format.h>

#include "toolkit/reading/decay_columns.hpp"
#include "toolkit/reading/table.hpp"
#include "toolkit/user_error.hpp"

namespace vorin::toolkit {

namespace {

namespace fs = std::filesystem;

/// Throws UserError for values that are no times above 0, or do not rise.
void checkTimes(const Table& table, const std::vector<double>& times, Quantity quantity) {
  requireTimes(table, times, quantity, 1.0, false);
  requireRisingTimes(table, times, quantity);
}

}  // namespace

Distribution readDistribution(const fs::path& path, Quantity quantity) {
  const std::string name(quantity == Quantity::time ? "relaxation time" : quantityName(quantity));
  const TextFile file = readTextFile(path);
  const Table table(file, name + " and amplitude", name + ",amplitude");
  if (table.columns() < 2) {
    throw UserError(
        fmt::format("{}: this row has 1 field; a row needs 2, {} and amplitude, "
                    "separated by a comma",
                    table.place(0), name));
  }
  Distribution result{table.numbers(0, name), table.numbers(1, "amplitude")};
  checkTimes(table, result.time, quantity);
  double total = 0.0;
  for (std::size_t i = 0; i < result.amplitude.size(); ++i) {
    if (result.amplitude[i] < 0.0) {
      throw UserError(
          fmt::format("{}: the amplitude {:g} is negative; a distribution has none "
                      "below 0",
                      table.place(i), result.amplitude[i]));
    }
    total += result.amplitude[i];
  }
  if (!(total > 0.0)) {
    throw UserError(
        fmt::format("{}: every amplitude is 0; a distribution requires one above 0", table.name()));
  }
  return result;
}

std::vector<double> readGrid(const fs::path& path, Quantity quantity) {
  const TextFile file = readTextFile(path);
  const std::string_view name = quantityName(quantity);
  const Table table(file, "", fmt::format("one {} a line", name));
  std::vector<double> values = table.numbers(0, name);
  checkTimes(table, values, quantity);
  return values;
}

Matrix readMatrix(const fs::path& path) {
  const TextFile file = readTextFile(path);
  const Table table(file, "", "one number for each value of the grid");
  Matrix matrix{table.rows(), table.columns(), {}};
  matrix.values.reserve(matrix.rows * matrix.columns);
  for (std::size_t column = 0; column < matrix.columns; ++column) {
    const std::vector<double> values = table.numbers(column, "kernel value");
    matrix.values.insert(matrix.values.end(), values.begin(), values.end());
  }
  return matrix;
}

}  // namespace vorin::toolkit
