// The places of the default atlas as its place files hold them, and inputs
// drawn from them with a fixed seed, so that every run asks the same
// questions.
#ifndef TARVPLACES_BENCH_ATLAS_SAMPLE_H_
#define TARVPLACES_BENCH_ATLAS_SAMPLE_H_

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "atlas/place_file.h"

namespace tarv::bench {

struct AtlasCountry {
  std::string code;                 // internal code, e.g. "MEX"
  std::vector<PlaceRecord> places;  // in file order
};

struct AtlasSample {
  std::vector<AtlasCountry> countries;  // in the order of Country.dat
  std::size_t largest = 0;              // index of the country with the most places

  const AtlasCountry& Largest() const { return countries[largest]; }
  std::size_t PlaceCount() const;
};

// Reads every country's place file of the atlas in `folder` once. Leaves no
// table loaded and no image cached, so benchmarks start from a fresh process
// state. Empty when the atlas is missing.
const AtlasSample& LoadAtlasSample(const std::string& folder);

// `n` host-side (UTF-8) names of `country`, drawn with `seed`. With `plain`
// the accents are dropped ("Mérida" becomes "Merida"); with `prefix` > 0 only
// the first `prefix` characters are kept.
std::vector<std::string> SampleNames(const AtlasCountry& country, std::size_t n, unsigned seed,
                                     bool plain = false, std::size_t prefix = 0);

// `n` points near places of `country`: a drawn place's coordinates moved by up
// to 0.05 degrees each way.
std::vector<std::pair<double, double>> SamplePoints(const AtlasCountry& country, std::size_t n,
                                                    unsigned seed);

// The name with the accents of Windows-1252 letters dropped, as typed on a
// plain keyboard.
std::string PlainAnsi(const std::string& ansi);

}  // namespace tarv::bench

#endif  // TARVPLACES_BENCH_ATLAS_SAMPLE_H_
