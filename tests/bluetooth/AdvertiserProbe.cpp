// advertiser_probe ADDRESS: advertises a hub at that address until standard input ends, and prints
// what the advertiser tells.

#include <iostream>
#include <string>

#include "apps/tessel-hub/Advertiser.h"

int main(int argc, char** argv) {
  const tessel::hub::Advertiser advertiser{
      argc > 1 ? argv[1] : "",
      [](const std::string& sentence) { std::cout << sentence << std::endl; }};
  std::string line;
  while (std::getline(std::cin, line)) {
  }
}
