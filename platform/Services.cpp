#include "platform/Services.h"

#include <utility>

namespace tessel::platform {
namespace {

// Never destroyed: queue threads may still use it while the process exits.
Services& current() {
  static Services& services = *new Services{makeServices()};
  return services;
}

}  // namespace

const Services& services() { return current(); }

ScopedServices::ScopedServices(Services services)
    : previous_{std::exchange(current(), std::move(services))} {}

ScopedServices::~ScopedServices() { current() = std::move(previous_); }

}  // namespace tessel::platform
