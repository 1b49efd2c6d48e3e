#pragma once
// What the current access is about: the module being driven and the register
// being read or written. The register layer and the plugin set these for the
// length of one operation, so that an access process that records a run can
// name each access. Nothing in a normal run reads them.
#include <string>

namespace quorl {

struct AccessNote {
    const std::string* module = nullptr;
    const std::string* reg = nullptr;
};

inline thread_local AccessNote currentAccessNote;

// Points one field of the note at `value` until the end of the scope.
class AccessNoteScope {
public:
    AccessNoteScope(const std::string* AccessNote::*field, const std::string& value)
        : field(field), previous(currentAccessNote.*field) {
        currentAccessNote.*field = &value;
    }
    ~AccessNoteScope() { currentAccessNote.*field = previous; }
    AccessNoteScope(const AccessNoteScope&) = delete;
    AccessNoteScope& operator=(const AccessNoteScope&) = delete;

private:
    const std::string* AccessNote::*field;
    const std::string* previous;
};

}  // namespace quorl
