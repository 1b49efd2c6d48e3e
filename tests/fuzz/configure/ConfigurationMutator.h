#pragma once
// Mutation of a configuration file as elements: a value replaced by one that
// suits its attribute kind (or names a block), a block renamed, a block or
// an attribute dropped or doubled. The text stays well formed, so that most
// results load and reach the modules.
#include <string>

namespace rq7fuzz {

// The text after one mutation chosen by `seed`; "" when the text is not a
// document whose tags nest.
std::string mutateConfiguration(const std::string& text, unsigned seed);

}  // namespace rq7fuzz
