#pragma once

#include <locale.h>

namespace tessel::platform {

/// Puts the calling thread into the C locale while it lives: numbers are then read and written with
/// a decimal point, whatever locale the host has set. The host's other threads keep theirs.
class CLocale {
 public:
  CLocale();
  ~CLocale();
  CLocale(const CLocale&) = delete;
  CLocale& operator=(const CLocale&) = delete;

 private:
  const locale_t previous_;
};

}  // namespace tessel::platform
