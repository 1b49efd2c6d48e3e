#include "rq7/PlanArgs.h"

namespace rq7 {

namespace po = boost::program_options;

void addPlanOptions(po::options_description& options) {
    options.add_options()("disable,d", "")("image", po::value<std::string>(), "");
}

PlanOptions planOptionsOf(const po::variables_map& values, gtasim::MemoryImage& image) {
    PlanOptions options;
    options.disable = values.count("disable") != 0;
    if (values.count("image")) {
        image = loadMemoryImage(values["image"].as<std::string>());
        options.image = &image;
    }
    return options;
}

}  // namespace rq7
