// advertiser_probe ADDRESS...: advertises a hub at these addresses until standard input ends, and
// prints the advertiser's notices.

#include <iostream>
#include <string>
#include <vector>

#include "apps/tessel-hub/announce/Advertiser.h"

int main(int argc, char** argv) {
  const tessel::hub::Advertiser advertiser{
      std::vector<std::string>(argv + 1, argv + argc),
      [](const std::string& sentence) { std::cout << sentence << std::endl; }};
  std::string line;
  while (std::getline(std::cin, line)) {
  }
}
