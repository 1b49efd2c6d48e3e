#pragma once
// Loading a configuration file into the tree.
//
//   quorl::ConfigurationPtr cfg = quorl::loadConfiguration("board.xml");
//   if (!cfg) { ...no configuration: refused extension, or a load error
//                (logged on "qor.ka.common" with its code)... }
//   cfg->getConfigAttribute("Target Access.ServerPort");
//   cfg->save("board.xml");
#include "common/src/ConfigBlock.h"
#include "common/src/Configuration.h"
#include "xrt/xrt_error.h"

#include <string>

namespace quorl {

class c_ConfigBlock;

// The extension rule: the path's extension (as boost::filesystem defines
// it) contains ".xml" or ".XML".
bool hasConfigurationExtension(const std::string& path);

// Reads the file; null without a message if the extension is refused, null
// after the line "An error occurred while reading XML (<path>) XML Error
// Code: <code>" if the file is refused. Otherwise the whole tree.
ConfigurationPtr loadConfiguration(const std::string& path);

// The same from a document in memory; *code receives the binding's result.
// Used by tools and tests; logs nothing.
ConfigurationPtr loadConfigurationFromMemory(const char* data, size_t length, xrt::exrt_error* code);

// The block of an element: editable if its element says Mutable.
ConfigBlockPtr makeBlockFromElement(const c_ConfigBlock& element, const std::string& parentQualifiedName);
// The same, releasing the element's binding objects as they are built.
ConfigBlockPtr makeBlockFromElement(c_ConfigBlock&& element, const std::string& parentQualifiedName);

}  // namespace quorl
