// The source location would be that of the one call below for every line.
#define SD_JOURNAL_SUPPRESS_LOCATION

#include "platform/linux/JournalLog.h"

#include <array>
#include <string>
#include <sys/uio.h>
#include <systemd/sd-journal.h>
#include <unistd.h>

namespace tessel::platform {
namespace {

class JournalLog final : public SystemLog {
 public:
  // Checked once: a journal does not come or go while a program runs.
  explicit JournalLog(const std::string& socketPath)
      : available_{access(socketPath.c_str(), W_OK) == 0} {}

  bool available() override { return available_; }

  void write(std::string_view line) override {
    std::string message = "MESSAGE=";
    message += line;
    std::string priority = "PRIORITY=6";  // LOG_INFO: the lines have no levels
    const std::array<iovec, 2> fields{
        {{message.data(), message.size()}, {priority.data(), priority.size()}}};
    sd_journal_sendv(fields.data(), static_cast<int>(fields.size()));
  }

 private:
  const bool available_;
};

}  // namespace

std::shared_ptr<SystemLog> makeSystemLog(const std::string& socketPath) {
  return std::make_shared<JournalLog>(socketPath);
}

}  // namespace tessel::platform
