#include "app/CommandLine.h"

int main(int argc, char* argv[]) { return rq7::runCommandLine(argc, argv); }
