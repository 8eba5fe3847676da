#pragma once

/// Marks what the shared library exports; everything else stays hidden.
#define TESSEL_EXPORT [[gnu::visibility("default")]]
