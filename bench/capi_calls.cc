// Runs N lookups of München with its zone on 1 July 1980 at noon, either
// through the C interface (libtarvplaces.so) or through the tarv::Atlas it
// wraps, for counting what the interface adds with a deterministic tool:
//
//   valgrind --tool=callgrind tarvplaces_capi_calls c_api 201 [ATLAS [undated]]
//
// (Ir of 201 calls minus Ir of 1 call, over 200). Timings on a shared
// machine vary by more than the difference; instruction counts do not.
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <optional>
#include <string>

#include "tarvplaces/atlas.h"
#include "tarvplaces/tarvplaces.h"

int main(int argc, char** argv) {
  if (argc < 3 || (std::strcmp(argv[1], "cpp") != 0 && std::strcmp(argv[1], "c_api") != 0)) {
    std::cerr << "usage: tarvplaces_capi_calls cpp|c_api N [ATLAS [undated]]\n";
    return 2;
  }
  const std::string atlas = argc > 3 ? argv[3] : TARV_DEFAULT_ATLAS;
  const long calls = std::atol(argv[2]);
  const bool dated = argc <= 4 || std::strcmp(argv[4], "undated") != 0;
  long found = 0;
  if (std::strcmp(argv[1], "c_api") == 0) {
    tarv_atlas* handle = nullptr;
    if (tarv_open(atlas.c_str(), &handle) != TARV_OK) {
      std::cerr << tarv_last_error() << '\n';
      return 2;
    }
    const tarv_local_time when = {1980, 7, 1, 12, 0, 0};
    tarv_place place;
    for (long i = 0; i < calls; ++i) {
      found += tarv_place_lookup(handle, "München", "D", dated ? &when : nullptr, &place,
                                 nullptr) == TARV_OK;
    }
    tarv_close(handle);
  } else {
    const tarv::Atlas places(atlas);
    const std::string name = "München";
    const std::string code = "D";
    std::optional<tarv::LocalTime> when;
    if (dated) when = tarv::LocalTime{1980, 7, 1, 12, 0, 0};
    for (long i = 0; i < calls; ++i) {
      found += places.Lookup(name, code, when).has_value();
    }
  }
  std::cout << found << " of " << calls << " found\n";
  return found == calls ? 0 : 1;
}
