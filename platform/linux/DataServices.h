#pragma once

#include <memory>

#include "platform/Files.h"
#include "platform/Queues.h"
#include "platform/URLSessions.h"
#include "platform/XMLParser.h"

/// Files, settings, texts, XML and HTTP.
namespace tessel::platform {

std::shared_ptr<XMLParser> makeXMLParser();
std::shared_ptr<Files> makeFiles();
/// `files` reads the settings and the texts.
std::shared_ptr<UserDefaults> makeUserDefaults(std::shared_ptr<Files> files);
std::shared_ptr<Localization> makeLocalization(std::shared_ptr<Files> files);
/// Completions come on queues of `queues`.
std::shared_ptr<URLSessions> makeURLSessions(std::shared_ptr<Queues> queues);

}  // namespace tessel::platform
