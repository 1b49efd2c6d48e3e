#include "rq7/CaptureArgs.h"

#include "rq7/Cli.h"
#include "rq7/Plan.h"

#include <iostream>

namespace rq7 {

namespace po = boost::program_options;

CaptureArgs parseCaptureArgs(const std::vector<std::string>& args, unsigned allowed) {
    po::options_description options;
    options.add_options()("file", po::value<std::string>(), "");
    if (allowed & OPT_OUT) options.add_options()("output,o", po::value<std::string>(), "");
    if (allowed & OPT_IMAGE) options.add_options()("image", po::value<std::string>(), "");
    if (allowed & OPT_TRACE) options.add_options()("trace", po::value<std::vector<std::string>>(), "");
    if (allowed & OPT_DUMP) options.add_options()("dump", po::value<std::vector<std::string>>(), "");
    po::positional_options_description positional;
    positional.add("file", 1);
    const po::variables_map values = parseArguments(args, options, positional);

    CaptureArgs out;
    if (!values.count("file")) throw UsageError("missing FILE");
    out.file = values["file"].as<std::string>();
    if (allowed & OPT_OUT) {
        if (!values.count("output")) throw UsageError("missing -o DIR");
        out.out = values["output"].as<std::string>();
    }
    if (values.count("image")) out.image = values["image"].as<std::string>();
    if (values.count("trace")) out.traces = values["trace"].as<std::vector<std::string>>();
    if (values.count("dump"))
        for (const std::string& text : values["dump"].as<std::vector<std::string>>()) {
            DumpRequest request;
            if (!parseDumpRequest(text, request) || (!request.file.empty() && !(allowed & OPT_DUMP_FILE)))
                throw UsageError("--dump takes SPACE:ADDRESS:LENGTH" +
                                 std::string(allowed & OPT_DUMP_FILE ? " or SPACE:ADDRESS:@FILE" : "") + ", not '" +
                                 text + "'");
            out.dumps.push_back(request);
        }
    return out;
}

int reportingFailures(const char* name, const std::function<int()>& body) {
    try {
        return body();
    } catch (const LoadError&) {
        throw;
    } catch (const std::exception& e) {
        std::cerr << "rq7 " << name << ": " << e.what() << std::endl;
        return EXIT_FAIL;
    }
}

}  // namespace rq7
