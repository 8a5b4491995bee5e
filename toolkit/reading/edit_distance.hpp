// How far a misspelt word is from one that is known.
#pragma once

#include <cstddef>
#include <string_view>

namespace vorin::toolkit {

/// The edit distance of two words: how many characters have to be inserted, deleted, replaced
/// or swapped with their neighbour to turn one into the other (Damerau, Commun. ACM 7, 171,
/// 1964; no place is edited more than once).
std::size_t editDistance(std::string_view a, std::string_view b);

}  // namespace vorin::toolkit
