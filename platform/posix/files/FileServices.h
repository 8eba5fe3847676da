#pragma once

#include <memory>

#include "platform/Files.h"
#include "platform/XMLParser.h"

/// Makers of the services for files, settings, texts and XML.
namespace tessel::platform {

std::shared_ptr<XMLParser> makeXMLParser();
std::shared_ptr<Files> makeFiles();
/// `files` reads the settings and the texts.
std::shared_ptr<UserDefaults> makeUserDefaults(std::shared_ptr<Files> files);
std::shared_ptr<Localization> makeLocalization(std::shared_ptr<Files> files);

}  // namespace tessel::platform
