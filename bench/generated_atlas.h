// A generated atlas of realistic size for benchmarks: one country of places
// whose names are drawn like real German place names, with a fixed seed.
#ifndef TARVPLACES_BENCH_GENERATED_ATLAS_H_
#define TARVPLACES_BENCH_GENERATED_ATLAS_H_

#include <filesystem>
#include <string>
#include <vector>

#include "atlas/place_file.h"

namespace tarv::bench {

struct GeneratedAtlas {
  std::filesystem::path folder;
  std::vector<PlaceRecord> places;  // as written, before sorting
};

// Writes Country.dat, Zones13.bin, D.dao and D.IDX with `count` places into a
// fresh temporary folder.
GeneratedAtlas MakeGeneratedAtlas(std::size_t count, unsigned seed = 42);

// The name without its accents, as a user types it on a plain keyboard.
std::string WithoutAccents(const std::string& ansi_name);

}  // namespace tarv::bench

#endif  // TARVPLACES_BENCH_GENERATED_ATLAS_H_
