#pragma once

#include <memory>
#include <optional>
#include <string>

#include "tessel/XMLParserDelegate.h"

namespace tessel {

/// Extracts the text of one element of a document. Used by one thread at a time.
///
/// The end of an element has no effect: text that follows it, white space included, replaces the
/// captured text until another element starts.
class deviceParser : public XMLParserDelegate {
 public:
  /// `target` is the name of the element wanted.
  static std::shared_ptr<deviceParser> initWithTarget(const std::string& target);

  void didStartElement(const std::string& elementName) override;
  void foundCharacters(const std::string& text) override;

  const std::string& target() const { return target_; }
  /// Name of the element started last; none before the first.
  const std::optional<std::string>& xmlelement() const { return xmlelement_; }
  /// The last text of two characters or more; none when there was none.
  const std::optional<std::string>& result() const { return result_; }

 private:
  explicit deviceParser(std::string target);

  const std::string target_;
  std::optional<std::string> xmlelement_;
  std::optional<std::string> result_;
};

}  // namespace tessel
