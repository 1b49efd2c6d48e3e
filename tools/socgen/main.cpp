// socgen CORES: prints a generated configuration of CORES cores on stdout.
#include "tools/socgen/SocGen.h"

#include <cstdlib>
#include <iostream>
#include <string>

int main(int argc, char* argv[]) {
    char* end = nullptr;
    const unsigned long cores = argc == 2 ? std::strtoul(argv[1], &end, 10) : 0;
    if (argc != 2 || *end != '\0' || cores == 0 || cores > 4096) {
        std::cerr << "Usage: socgen CORES   (1 to 4096; the configuration goes to stdout)\n";
        return 2;
    }
    std::cout << socgen::generatedSoc(unsigned(cores));
    return 0;
}
