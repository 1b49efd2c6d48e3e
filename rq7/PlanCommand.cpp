// rq7 plan: the register accesses of one run, as aligned text or JSON.
#include "rq7/Cli.h"
#include "rq7/Fields.h"
#include "rq7/Plan.h"
#include "rq7/PlanArgs.h"
#include "rq7/PlanText.h"

#include <nlohmann/json.hpp>

#include <iostream>

namespace rq7 {

namespace po = boost::program_options;

const char* const planHelp =
    "Usage: rq7 plan [-d] FILE [--image IMAGE] [--format text|json]\n"
    "\n"
    "Lists every register access that a configure run of FILE (with -d, a disable\n"
    "run) would make, in order, without a target. The file is not written.\n"
    "\n"
    "Without --image, reads answer as the Logger server does (the last value\n"
    "written), so the writes are those of a Logger run line for line. With\n"
    "--image, reads answer from that memory image (gta-sim's format) and writes\n"
    "update it, as a GTA run against 'gta-sim --image IMAGE' would see them.\n"
    "\n"
    "Options:\n"
    "  -d, --disable        plan a disable run\n"
    "  --image IMAGE        answer reads from this memory image\n"
    "  --format text|json   text: one aligned line per access, control register\n"
    "                       fields decoded; json: an array of objects with op,\n"
    "                       module, register, space, address, width, value\n"
    "  -h, --help           this text\n"
    "\n"
    "The run's log lines go to stderr. Exit status: 0 when the run would succeed,\n"
    "1 when it would not, 2 on a usage error or a file that cannot be loaded.\n";

namespace {

std::string hexText(uint64_t value) {
    char text[24];
    std::snprintf(text, sizeof text, "0x%llx", static_cast<unsigned long long>(value));
    return text;
}

void printJson(std::ostream& out, const Plan& plan) {
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    for (const Access& access : plan.accesses)
        list.push_back({{"op", access.op == Access::Op::Read ? "read" : "write"},
                        {"module", access.module},
                        {"register", access.reg},
                        {"space", access.space},
                        {"address", hexText(access.address)},
                        {"width", access.width},
                        {"value", hexText(access.value)}});
    out << list.dump(2) << "\n";
}

}  // namespace

int planCommand(const std::vector<std::string>& args) {
    po::options_description options;
    addPlanOptions(options);
    options.add_options()("format", po::value<std::string>(), "")("file", po::value<std::string>(), "");
    po::positional_options_description positional;
    positional.add("file", 1);
    const po::variables_map values = parseArguments(args, options, positional);
    const std::string format = formatOption(values, {"text", "json"});
    if (!values.count("file")) throw UsageError("missing FILE");

    gtasim::MemoryImage image;
    const PlanOptions planOptions = planOptionsOf(values, image);
    const Plan plan = makePlan(values["file"].as<std::string>(), planOptions);
    if (format == "json")
        printJson(std::cout, plan);
    else
        printPlanText(std::cout, plan.accesses);
    std::cout.flush();
    return plan.success ? EXIT_OK : EXIT_FAIL;
}

}  // namespace rq7
