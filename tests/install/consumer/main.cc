#include <iostream>

#include "tarvplaces/places.h"

// Prints the continent number of "Europe" in the given atlas folder.
int main(int argc, char** argv) {
  if (argc != 2) return 2;
  tarv::classPlaces places;
  places.PlacePath(argv[1]);
  places.GetContinentID("Europe");  // the first call loads the table
  std::cout << places.GetContinentID("Europe") << '\n';
  return 0;
}
