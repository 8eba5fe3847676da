#include "platform/base/CLocale.h"

namespace tessel::platform {
namespace {

// Never freed: queue threads may still log while the process exits.
locale_t cLocale() {
  static const locale_t locale = ::newlocale(LC_ALL_MASK, "C", locale_t{});
  return locale;
}

}  // namespace

CLocale::CLocale() : previous_{::uselocale(cLocale())} {}

CLocale::~CLocale() { ::uselocale(previous_); }

}  // namespace tessel::platform
