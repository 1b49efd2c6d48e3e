#include "rq7/Cli.h"

int main(int argc, char* argv[]) {
    return rq7::main(argc, argv);
}
