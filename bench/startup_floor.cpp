// The least a C++ program of this build pays at start: linked like the
// tools (C++ runtime included), it prints one line through iostreams. The
// start-up figure of rq7.config is compared with this and with /bin/true.
#include <iostream>

int main() {
    std::cout << "Version: 0\n";
}
