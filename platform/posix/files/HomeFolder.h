#pragma once

#include <string>

namespace tessel::platform {

/// Home folder of this process's user: HOME, or what the user database says; may be empty.
std::string homeFolder();

/// Home folder of the user called `name`; empty when there is none.
std::string homeFolderOf(const std::string& name);

}  // namespace tessel::platform
