// The target of every pure virtual slot in the vtables of abstract classes.
// Defined here, in the program, the thousands of such slots are bound when
// the program is linked; left to the C++ runtime library, the loader looks
// the symbol up for each of them at every start. Same behaviour as the
// runtime's own: a message, then terminate.
#include <exception>

#include <unistd.h>

extern "C" void __cxa_pure_virtual() {
    static const char message[] = "pure virtual method called\n";
    ssize_t ignored = write(STDERR_FILENO, message, sizeof message - 1);
    (void)ignored;
    std::terminate();
}
