#include "apps/tessel/Doctor.h"

#include <algorithm>
#include <iomanip>
#include <iostream>

#include "apps/common/JsonLine.h"
#include "apps/tessel/Explain.h"
#include "tessel/Diagnostics.h"

namespace tessel::apps {
namespace {

void show(const Finding& finding) {
  std::cout << (finding.usable ? "ok    " : "NO    ") << std::left << std::setw(15) << finding.area
            << finding.sentence << "\n";
  if (finding.advice.empty()) return;
  std::cout << std::string(21, ' ') << advice(finding) << "\n";
}

void showJson(const Finding& finding) {
  const auto line = JsonLine{"finding"}
                        .add("area", finding.area)
                        .add("usable", finding.usable)
                        .add("description", finding.sentence)
                        .add("advice", advice(finding))
                        .text();
  std::cout << line << "\n";
}

}  // namespace

int runDoctor(bool json) {
  const auto findings = diagnose();
  for (const Finding& finding : findings) json ? showJson(finding) : show(finding);
  std::cout.flush();
  const bool castable = std::ranges::all_of(findings, [](const Finding& finding) {
    return finding.usable || (finding.area != "screen" && finding.area != "encoder");
  });
  return castable ? 0 : 1;
}

}  // namespace tessel::apps
