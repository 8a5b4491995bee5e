// The library's keys, as C++ values: a thin layer over its store, with nothing kept on this side.
// The exports would do the same, but memory that is refused inside them ends the process.
#pragma once

#include <string>
#include <string_view>

namespace vorin::toolkit {

/// The number under `key` (four characters at most); an unknown key answers NaN.
float queryNumber(std::string_view key);

/// The text under `key`, without trailing blanks; an unknown key answers none.
std::string queryText(std::string_view key);

void setNumber(std::string_view key, float value);
void setText(std::string_view key, std::string_view value);

/// Carries out "KEY=VALUE" as a user gives it, VALUE being a number or a text, as
/// the key takes it. Throws UserError, which names `option`, for an assignment
/// without "=", an unknown key, a key that cannot be set, a value of the wrong kind,
/// and the keys that the host itself sets in another way (FLOG, SIG). Returns the
/// key in upper case.
std::string assign(std::string_view assignment, std::string_view option);

}  // namespace vorin::toolkit
