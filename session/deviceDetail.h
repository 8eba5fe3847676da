#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "tessel/XMLParserDelegate.h"

namespace tessel {

class TSLSession;

/// Reads a hub's device-details document as it is parsed and sets the launch data of a session.
/// One object reads one document, on the thread that parses it. The session is held weakly.
class deviceDetail : public XMLParserDelegate {
 public:
  static std::shared_ptr<deviceDetail> initWithSession(const std::shared_ptr<TSLSession>& session);

  std::shared_ptr<TSLSession> session() const { return session_.lock(); }
  void setSession(const std::shared_ptr<TSLSession>& session) { session_ = session; }

  /// Name of the most recently started element; not cleared at the element's end.
  std::optional<std::string> xmlelement() const { return xmlelement_; }
  void setXmlelement(const std::optional<std::string>& xmlelement) { xmlelement_ = xmlelement; }

  void didStartElement(const std::string& elementName) override;
  void foundCharacters(const std::string& text) override;

 private:
  deviceDetail() = default;

  void readSpecVersion(const std::string& text);
  void readSSL(const std::string& text);
  void readBusy(const std::string& text);

  std::weak_ptr<TSLSession> session_;
  std::optional<std::string> xmlelement_;
};

}  // namespace tessel
