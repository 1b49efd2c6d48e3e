#include "app/CommandLine.h"

#include "app/RunSequence.h"

#include <boost/program_options/options_description.hpp>
#include <boost/program_options/parsers.hpp>
#include <boost/program_options/variables_map.hpp>

#include <iostream>

#ifndef RQ7_BUILD_STAMP
#define RQ7_BUILD_STAMP "0000-00-00 00:00:00"
#endif

namespace rq7 {

namespace po = boost::program_options;

namespace {

const char kVersionText[] = "0.0.0.0 (built on " RQ7_BUILD_STAMP ")";
const unsigned kLineLength = 80;
const unsigned kMinDescriptionLength = 40;

}  // namespace

const char* versionText() {
    return kVersionText;
}

int runCommandLine(int argc, const char* const argv[]) {
    quorl::QORLBoostTypedValue* configFile = new quorl::QORLBoostTypedValue("path", "");

    const std::string description = "This application configures trace on Korvane2 target";
    const std::string usage = "Usage: rq7.config <-h|-v|-d|-c <xml_config_file>";
    po::options_description visible("Options", kLineLength, kMinDescriptionLength);
    po::options_description all(kLineLength, kMinDescriptionLength);
    visible.add_options()("help,h", "  Displays this help message")("config-file,c", configFile,
                                                                    "  Path to the xml configuration file")(
        "disable,d", "  Disables all trace generators")("version,v", "  Shows version info");
    all.add(visible);

    po::variables_map vm;
    try {
        po::store(po::command_line_parser(argc, argv).options(all).run(), vm);
        po::notify(vm);
    } catch (const po::error& e) {
        std::cerr << "ERROR: " << e.what() << std::endl << std::endl;
        return 1;
    }

    if (vm.empty() || vm.count("help")) {
        std::cout << description << std::endl;
        std::cout << usage << std::endl;
        std::cout << visible << std::endl;
        return 1;
    }

    const int disableCount = static_cast<int>(vm.count("disable"));
    if (vm.count("version")) {
        std::cout << description << std::endl;
        std::cout << "Version: " << versionText() << std::endl;
        return 0;
    }

    return runSequence(configFile->value, disableCount);
}

}  // namespace rq7
