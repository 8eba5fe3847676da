#include "platform/libav/EncoderFinding.h"
#include "platform/linux/Findings.h"

namespace tessel::platform {
namespace {

class LinuxInspection final : public Inspection {
 public:
  Finding screen() override { return findScreen(); }
  Finding encoder() override { return findEncoder(); }
  Finding input() override { return findInput(); }
  std::string bluetoothAdvice(CentralState state) override {
    return platform::bluetoothAdvice(state);
  }
};

}  // namespace

std::shared_ptr<Inspection> makeInspection() { return std::make_shared<LinuxInspection>(); }

}  // namespace tessel::platform
