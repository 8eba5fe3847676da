// The plain accessors of a session.
#include "display/TSLDisplayConnection.h"
#include "input/TSLKeyBoardConnection.h"
#include "input/TSLMouseConnection.h"
#include "session/SessionFields.h"

namespace tessel {

std::int64_t TSLSession::state() const { return fields_->state.value(); }

std::optional<std::string> TSLSession::hostName() const { return fields_->hostName; }

std::int64_t TSLSession::displayMode() const { return fields_->displayMode; }

std::shared_ptr<TSLSessionDelegate> TSLSession::delegate() const {
  return fields_->delegate.get().lock();
}

std::shared_ptr<OperationQueue> TSLSession::delegateQueue() const {
  return fields_->delegateQueue.get();
}

TSLSessionStatistics TSLSession::statistics() const {
  const auto display = displayConnection();
  return display ? display->statistics() : TSLSessionStatistics{};
}

bool TSLSession::sslEnabled() const { return fields_->sslEnabled; }

void TSLSession::setSslEnabled(bool sslEnabled) { fields_->sslEnabled = sslEnabled; }

bool TSLSession::newProtocol() const { return fields_->newProtocol; }

void TSLSession::setNewProtocol(bool newProtocol) { fields_->newProtocol = newProtocol; }

bool TSLSession::multiTokenProtocol() const { return fields_->multiTokenProtocol; }

void TSLSession::setMultiTokenProtocol(bool multiTokenProtocol) {
  fields_->multiTokenProtocol = multiTokenProtocol;
}

bool TSLSession::busyStatus() const { return fields_->busyStatus; }

void TSLSession::setBusyStatus(bool busyStatus) { fields_->busyStatus = busyStatus; }

std::int32_t TSLSession::lauchport() const { return fields_->lauchport; }

void TSLSession::setLauchport(std::int32_t lauchport) { fields_->lauchport = lauchport; }

std::optional<std::string> TSLSession::applicationURL() const {
  return fields_->applicationURL.get();
}

void TSLSession::setApplicationURL(const std::optional<std::string>& applicationURL) {
  fields_->applicationURL.set(applicationURL);
}

std::string TSLSession::applicationName() const { return fields_->applicationName.get(); }

void TSLSession::setApplicationName(const std::string& applicationName) {
  fields_->applicationName.set(applicationName);
}

std::optional<std::string> TSLSession::deviceDetailsXML() const {
  return fields_->deviceDetailsXML.get();
}

void TSLSession::setDeviceDetailsXML(const std::optional<std::string>& deviceDetailsXML) {
  fields_->deviceDetailsXML.set(deviceDetailsXML);
}

std::shared_ptr<TSLSessionConfigration> TSLSession::sessionConfig() const {
  return fields_->sessionConfig.get();
}

void TSLSession::setSessionConfig(const std::shared_ptr<TSLSessionConfigration>& sessionConfig) {
  fields_->sessionConfig.set(sessionConfig);
}

std::shared_ptr<TSLDisplayConnection> TSLSession::displayConnection() const {
  return fields_->displayConnection.get();
}

void TSLSession::setDisplayConnection(
    const std::shared_ptr<TSLDisplayConnection>& displayConnection) {
  fields_->displayConnection.set(displayConnection);
}

std::shared_ptr<TSLMouseConnection> TSLSession::mouseConnection() const {
  return fields_->mouseConnection.get();
}

void TSLSession::setMouseConnection(const std::shared_ptr<TSLMouseConnection>& mouseConnection) {
  fields_->mouseConnection.set(mouseConnection);
}

std::shared_ptr<TSLKeyBoardConnection> TSLSession::keyBoardConnection() const {
  return fields_->keyBoardConnection.get();
}

void TSLSession::setKeyBoardConnection(
    const std::shared_ptr<TSLKeyBoardConnection>& keyBoardConnection) {
  fields_->keyBoardConnection.set(keyBoardConnection);
}

std::shared_ptr<platform::Timer> TSLSession::heartbeattimer() const {
  return fields_->heartbeat.timer();
}

void TSLSession::setHeartbeattimer(const std::shared_ptr<platform::Timer>& heartbeattimer) {
  fields_->heartbeat.setTimer(heartbeattimer);
}

std::optional<std::string> TSLSession::xmlelementname() const {
  return fields_->heartbeat.elementName();
}

void TSLSession::setXmlelementname(const std::optional<std::string>& xmlelementname) {
  fields_->heartbeat.setElementName(xmlelementname);
}

std::optional<Date> TSLSession::lastactive() const { return fields_->heartbeat.lastActive(); }

void TSLSession::setLastactive(const std::optional<Date>& lastactive) {
  fields_->heartbeat.setLastActive(lastactive);
}

}  // namespace tessel
