#pragma once

#include <clocale>
#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <string>

#include "tests/support/TemporaryFolder.h"

namespace tessel::test {

/// Puts the process into a locale with a decimal comma, like a German host, for as long as it
/// lives. The locale is compiled on the spot, so the machine need not have one.
class CommaLocale {
 public:
  CommaLocale() {
    std::ofstream{folder_ / "comma"} << "comment_char %\n"
                                        "escape_char /\n"
                                        "LC_CTYPE\n"
                                        "copy \"POSIX\"\n"
                                        "END LC_CTYPE\n"
                                        "LC_NUMERIC\n"
                                        "decimal_point \",\"\n"
                                        "thousands_sep \".\"\n"
                                        "grouping 3\n"
                                        "END LC_NUMERIC\n";
    // It warns of the categories left out, and counts that as a failure; setlocale() decides.
    const std::string command =
        "localedef -c -i '" + (folder_ / "comma") + "' '" + (folder_ / "de_DE") + "' 2>/dev/null";
    if (std::system(command.c_str()) == -1) throw std::runtime_error{"localedef did not start"};
    ::setenv("LOCPATH", folder_.path().c_str(), 1);
    if (!std::setlocale(LC_ALL, "de_DE")) throw std::runtime_error{"no locale was compiled"};
  }
  CommaLocale(const CommaLocale&) = delete;
  CommaLocale& operator=(const CommaLocale&) = delete;
  ~CommaLocale() {
    std::setlocale(LC_ALL, "C");
    ::unsetenv("LOCPATH");
  }

 private:
  const TemporaryFolder folder_;
};

}  // namespace tessel::test
