// vorin map IN --out OUT
#include <memory>
#include <string>
#include <vector>

#include "commands.hpp"
#include "map_options.hpp"

namespace vorin::toolkit {

namespace {

void addInputOptions(CLI::App& line, MapOptions& options) {
  addOption(line, "IN", options.file, "",
            "The volume: a NIfTI image of 4 dimensions, HDF5 (FILE.h5:/DATASET), a\n"
            "numpy array FILE.npy, or a table with a decay a row below a row of\n"
            "times");
  addOption(line, "--times", options.times.times, "T,T...|FILE",
            "The times of the samples: values with or without a unit, 10ms,20ms;\n"
            "or a file with a row or a column of them, for HDF5 FILE.h5:/DATASET\n"
            "(default: EchoTime of the JSON file beside an image, the scale of the\n"
            "axis or t beside the data set, the first row of a table)");
  addOption(line, "--spacing", options.times.spacing, "TIME[,FIRST]",
            "The time from one sample to the next, with a unit, and that of the\n"
            "first sample where it is another");
  addOption(line, "--time-unit", options.times.unit, "UNIT",
            "Of times without one: s (default), ms, us or ns; for diffusion s/m2\n"
            "(default), s/cm2, s/mm2 or ms/um2");
  addOption(line, "--axis", options.axis, "N",
            "The axis of the samples of HDF5 and numpy arrays, from 0, or from -1\n"
            "counted from the end (default -1)");
  addOption(line, "--skip", options.skip, "N",
            "Leave out the first N samples: the first echoes of a train may lie\noff the curve");
  addOption(line, "--mask", options.mask, "FILE",
            "A file of the same kind with a number a voxel: those of 0 are left out");
  addOption(line, "--threshold", options.threshold, "A",
            "Leave out voxels without a sample of this magnitude");
  addKernelOptions(line, options.kernel, options.grid);
}

void addMethodOptions(CLI::App& line, MapOptions& options) {
  options.method.addTo(line);
  line.remove_option(line.get_option("--bootstrap"));
  line.remove_option(line.get_option("--seed"));
  addOption(line, "--flip-map", options.flipMap, "FILE",
            "A file of the same kind with the refocusing angle of each voxel in\n"
            "degrees, for --kernel t2-epg; where it has none (0), --flip estimate");
  line.get_option("--weight")
      ->type_name("noise|corner|shared|W")
      ->description(
          "How strongly the distributions are smoothed: noise (default) as\n"
          "--method says, corner by the corner of the L-curve, each voxel by its\n"
          "own; shared: all by the weight of the mean decay; W is a weight of your\n"
          "own");
}

void addOutputOptions(CLI::App& line, MapOptions& options) {
  addOption(line, "--out", options.out, "OUT",
            "Where the maps go, in the kind of the input. Images: a folder, or a\n"
            "name that all begin with (sub-01_, maps.nii.gz); HDF5: a file; numpy: a\n"
            "folder or FILE.npz; tables: a file");
  addOption(line, "--cutoff", options.cutoff, "T[,T...]",
            "Also the shares below, between and above these values, in seconds\n"
            "(m2/s) or with a unit: 40ms for the myelin water fraction");
  addOption(line, "--calibrate", options.calibrate, "100UNIT=AMPLITUDE",
            "The unit of all amplitudes in the maps: 100pu=1234.5 says that an\n"
            "amplitude of 1234.5 in the data is 100 pu");
  line.add_flag("--distribution", options.distribution, "Also the distribution of each voxel");
  line.add_flag("--single", options.single, "Write the maps in single precision (default: double)");
  addOption(line, "--jobs", options.jobs, "N",
            "Invert N voxels at a time (default: one for each processor); the\n"
            "answers do not depend on it");
  line.add_flag("--resume", options.resume,
                "Go on with the map that the same command began and that was\n"
                "interrupted");
  addOption(line, "--part", options.part, "I/N",
            "Invert the I-th of N parts of the volume, from 1, into a file beside\n"
            "OUT, OUT.part-I-of-N, for jobs on several machines");
  addOption(line, "--join", options.join, "PART",
            "Write the maps to OUT from all parts, which are listed behind this\n"
            "option; there is no IN then");
}

constexpr const char* exampleRows =
    "Examples:\n"
    "  vorin map sub-01_MESE.nii.gz --mask brain.nii.gz --cutoff 40ms --out sub-01_\n"
    "      maps of a brain, the myelin water fraction among them, with the echo times of\n"
    "      sub-01_MESE.json\n"
    "  vorin map core.h5:/scan --spacing 200us --out maps.h5 --distribution\n"
    "      a profile along a core, with all distributions\n"
    "  vorin map log.csv --grid 0.3ms:3s:60 --weight shared --out log_maps.csv\n"
    "      a well log: a row of times, then a decay a row\n"
    "  vorin map vol.npy --times te.csv --part 3/16 --out maps.npz\n"
    "  vorin map --join maps.npz.part-*-of-16 --out maps.npz\n"
    "      the third of sixteen jobs, and all of them joined afterwards\n"
    "\n"
    "Voxels that can't be inverted are not a number in the maps, and the map of the status says\n"
    "why. Exit status: 0 success, 1 no voxel could be inverted (the maps are written all the\n"
    "same), 2 bad input or options (one sentence, nothing is written).";

}  // namespace

Command addMapCommand(CLI::App& program) {
  CLI::App* line = program.add_subcommand(
      "map", "Invert every voxel of an image, a log or another volume of decays");
  const auto options = std::make_shared<MapOptions>();
  addGroup(*line, "What is read", [&] { addInputOptions(*line, *options); });
  addGroup(*line, "How it is inverted", [&] { addMethodOptions(*line, *options); });
  addGroup(*line, outputGroup, [&] { addOutputOptions(*line, *options); });
  line->footer(exampleRows);
  return {line, [options, line] {
            return options->join.empty()
                       ? runMap(*options,
                                givenOptions(*line, {"--jobs", "--resume", "--part", "--out"}))
                       : joinMap(*options);
          }};
}

}  // namespace vorin::toolkit
