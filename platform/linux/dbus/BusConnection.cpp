#include "platform/linux/dbus/BusConnection.h"

#include <cassert>
#include <cerrno>
#include <memory>
#include <utility>

namespace tessel::platform {
namespace {

using namespace std::chrono_literals;

constexpr auto kReconnectDelay = 5s;

std::string errorNameOf(int negativeErrno) {
  sd_bus_error error = SD_BUS_ERROR_NULL;
  sd_bus_error_set_errno(&error, negativeErrno);
  std::string name = error.name;
  sd_bus_error_free(&error);
  return name;
}

}  // namespace

BusConnection::BusConnection(EventThread& thread, Open open, std::function<void(State)> onState)
    : thread_{thread}, open_{open}, onState_{std::move(onState)}, reconnect_{thread, [this] {
                                                                               connect();
                                                                             }} {
  match(
      "type='signal',sender='org.freedesktop.DBus.Local',"
      "interface='org.freedesktop.DBus.Local',member='Disconnected'",
      // The connection cannot be let go in the midst of its own callback.
      [this](sd_bus_message*) {
        thread_.post([this] {
          close();
          onState_(State::kUnreachable);
        });
      });
}

void BusConnection::match(std::string rule, std::function<void(sd_bus_message*)> handler) {
  assert(!bus_);
  matches_.push_back({std::move(rule), std::move(handler), nullptr});
}

void BusConnection::connect() {
  assert(thread_.isCurrent());
  const int opened = openBus();
  if (opened >= 0) {
    onState_(State::kConnected);
    return;
  }
  close();
  onState_(opened == -EACCES || opened == -EPERM ? State::kRefused : State::kUnreachable);
}

int BusConnection::openBus() {
  sd_bus* bus = nullptr;
  int r = open_(&bus);
  bus_.reset(bus);
  if (r >= 0) r = sd_bus_attach_event(bus, thread_.event(), SD_EVENT_PRIORITY_NORMAL);
  for (Match& match : matches_) {
    if (r < 0) return r;
    sd_bus_slot* slot = nullptr;
    r = sd_bus_add_match_async(bus, &slot, match.rule.c_str(), &BusConnection::onMatch, nullptr,
                               &match);
    match.slot.reset(slot);
  }
  return r;
}

void BusConnection::close() {
  for (Match& match : matches_) match.slot.reset();
  bus_.reset();
  reconnect_.arm(kReconnectDelay);
}

int BusConnection::onMatch(sd_bus_message* message, void* match, sd_bus_error*) {
  static_cast<const Match*>(match)->handler(message);
  return 0;
}

void BusConnection::call(const MethodCall& call, Reply reply) {
  assert(thread_.isCurrent());
  const int sent = send(call, reply);
  if (sent >= 0 || !reply) return;
  thread_.post([reply = std::move(reply), name = errorNameOf(sent)] {  //
    reply(nullptr, name.c_str());
  });
}

// Takes `reply` when the message is on its way.
int BusConnection::send(const MethodCall& call, Reply& reply) {
  if (!bus_) return -ENOTCONN;
  sd_bus_message* made = nullptr;
  int r = sd_bus_message_new_method_call(bus_.get(), &made, call.service.c_str(), call.path.c_str(),
                                         call.interface.c_str(), call.member.c_str());
  if (r < 0) return r;
  const SdMessage message{made};
  if (call.fill) call.fill(made);
  auto kept = std::make_unique<Reply>(reply);
  sd_bus_slot* slot = nullptr;
  r = sd_bus_call_async(bus_.get(), &slot, made, &BusConnection::onReply, kept.get(),
                        static_cast<std::uint64_t>(call.timeout.count()));
  if (r < 0) return r;
  // From here on the connection owns the slot, and the slot the reply.
  sd_bus_slot_set_destroy_callback(slot, [](void* owned) { delete static_cast<Reply*>(owned); });
  sd_bus_slot_set_floating(slot, 1);
  sd_bus_slot_unref(slot);
  [[maybe_unused]] const auto* owned = kept.release();
  return r;
}

int BusConnection::onReply(sd_bus_message* message, void* reply, sd_bus_error*) {
  const auto& answered = *static_cast<const Reply*>(reply);
  if (!answered) return 0;
  const sd_bus_error* error = sd_bus_message_get_error(message);
  if (error != nullptr) {
    answered(nullptr, error->name);
  } else {
    answered(message, nullptr);
  }
  return 0;
}

}  // namespace tessel::platform
