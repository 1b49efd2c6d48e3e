#include "rq7/CaptureArgs.h"

namespace rq7 {

bool parseCaptureArgs(const std::vector<std::string>& args, unsigned allowed, CaptureArgs& out,
                      std::string& error) {
    struct Option {
        const char* name;
        CaptureOption bit;
    };
    static const Option OPTIONS[] = {
        {"-o", OPT_OUT}, {"--image", OPT_IMAGE}, {"--trace", OPT_TRACE}, {"--dump", OPT_DUMP}};
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string& arg = args[i];
        if (arg == "-h" || arg == "--help") {
            out.help = true;
            return true;
        }
        const Option* option = nullptr;
        for (const Option& o : OPTIONS)
            if (arg == o.name && (allowed & o.bit)) option = &o;
        if (!option) {
            if (!arg.empty() && arg[0] == '-') {
                error = "unknown option " + arg;
                return false;
            }
            if (!out.file.empty()) {
                error = "one configuration file only (" + out.file + ", " + arg + ")";
                return false;
            }
            out.file = arg;
            continue;
        }
        if (i + 1 >= args.size()) {
            error = arg + " needs a value";
            return false;
        }
        const std::string& value = args[++i];
        switch (option->bit) {
            case OPT_OUT: out.out = value; break;
            case OPT_IMAGE: out.image = value; break;
            case OPT_TRACE: out.traces.push_back(value); break;
            case OPT_DUMP: {
                DumpRequest request;
                if (!parseDumpRequest(value, request) || (!request.file.empty() && !(allowed & OPT_DUMP_FILE))) {
                    error = "--dump takes SPACE:ADDRESS:LENGTH" +
                            std::string(allowed & OPT_DUMP_FILE ? " or SPACE:ADDRESS:@FILE" : "") + ", not " + value;
                    return false;
                }
                out.dumps.push_back(request);
                break;
            }
            default: break;
        }
    }
    if (out.file.empty()) {
        error = "no configuration file given";
        return false;
    }
    if ((allowed & OPT_OUT) && out.out.empty()) {
        error = "no output directory given (-o DIR)";
        return false;
    }
    return true;
}

}  // namespace rq7
