// Times of a decay that look like a mistaken unit or a count of echoes.
#pragma once

#include "toolkit/model/decay.hpp"
#include "toolkit/reading/decay_file.hpp"
#include "toolkit/reading/found.hpp"

namespace vorin::toolkit {

/// Adds to the notes of `found` what the times of `decay` (in SI units) make one doubt.
void noteDoubtfulTimes(const Decay& decay, const DecayFormat& format, Found& found);

}  // namespace vorin::toolkit
