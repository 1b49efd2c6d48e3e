// libFuzzer target over the whole configure and disable path: the input is a
// configuration file; a loaded tree goes through the plugin (module loading,
// reset, enable, save) and then through a disable run, against an access
// process that records every access instead of reaching a target.
//
// Byte-level mutations of an XML file are nearly all refused by the loader,
// so the target has a mutator of its own that edits the file as elements: a
// value replaced by one that suits its attribute kind or names a block, a
// block renamed, an element dropped or doubled. The result stays well formed
// and mostly loads; one mutation in 64 is libFuzzer's own, for the loader, and
// an input the loader refuses is swapped for one that reached the modules.
//
// With --reach-report (libFuzzer ignores flags that start with "--") the
// target prints at exit how many inputs loaded and how many reached module
// loading with at least one module built.
#include "common/src/ConfigurationLoader.h"
#include "plugin/TraceTargetConfigPluginKA2.h"
#include "tests/fuzz/configure/ConfigurationMutator.h"
#include "tests/support/RecordingTaProcess.h"

#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

struct Counts {
    unsigned long inputs = 0;
    unsigned long loaded = 0;
    unsigned long reached = 0;
};
Counts counts;

void printReach() {
    const double share = counts.inputs ? 100.0 * double(counts.reached) / double(counts.inputs) : 0.0;
    std::fprintf(stderr, "configure_fuzz: %lu inputs, %lu loaded, %lu reached the modules (%.1f%%)\n", counts.inputs,
                 counts.loaded, counts.reached, share);
}

// The plugin saves the tree back to its own path: a file in a private folder,
// on tmpfs where there is one so that the sync costs nothing.
std::string savePath;

void removeSaveFolder() {
    if (savePath.empty()) return;
    ::unlink(savePath.c_str());
    ::rmdir(savePath.substr(0, savePath.rfind('/')).c_str());
}

// Without the ".xml" extension the plugin's own load is refused without a
// message, and the tree from memory is handed in instead.
boost::shared_ptr<CONFIG_KA2::TraceTargetConfigPluginKA2> makePlugin(const quorl::ConfigurationPtr& cfg) {
    boost::shared_ptr<CONFIG_KA2::TraceTargetConfigPluginKA2> plugin(
        new CONFIG_KA2::TraceTargetConfigPluginKA2("fuzz", "1.0.0", savePath, "TraceTargetConfigPluginKA2"));
    plugin->setConfiguration(cfg);
    plugin->setAccessProcess(boost::shared_ptr<quorl::TaProcess>(new rq7test::RecordingTaProcess()));
    return plugin;
}

}  // namespace

#ifndef RQ7_CORPUS_REPLAY
extern "C" size_t LLVMFuzzerMutate(uint8_t* data, size_t size, size_t maxSize);

namespace {

// Recent inputs that reached the modules. An input the loader refuses is not
// edited itself (its edits stay refused, and a grown corpus fills up with
// such inputs since they add loader coverage); one of these is edited instead.
std::vector<std::string> reachedPool;
size_t reachedNext = 0;

void rememberReached(const uint8_t* data, size_t size) {
    if (reachedPool.size() < 64)
        reachedPool.emplace_back(reinterpret_cast<const char*>(data), size);
    else
        reachedPool[reachedNext++ % reachedPool.size()].assign(reinterpret_cast<const char*>(data), size);
}

bool loads(const std::string& text) {
    xrt::exrt_error code;
    return static_cast<bool>(quorl::loadConfigurationFromMemory(text.data(), text.size(), &code));
}

}  // namespace

extern "C" size_t LLVMFuzzerCustomMutator(uint8_t* data, size_t size, size_t maxSize, unsigned int seed) {
    // Byte mutations are for the loader, which its own targets cover; here
    // they are rare so that the corpus stays mostly loadable.
    if (seed % 64 == 0) return LLVMFuzzerMutate(data, size, maxSize);
    std::string text(reinterpret_cast<char*>(data), size);
    if (!reachedPool.empty() && !loads(text)) text = reachedPool[(seed / 64) % reachedPool.size()];
    // A file near the size limit gets a few tries, as a doubled block may not fit.
    for (unsigned attempt = 0; attempt < 4; ++attempt) {
        const std::string mutated = rq7fuzz::mutateConfiguration(text, seed / 64 + attempt);
        if (mutated.empty()) break;
        if (mutated.size() <= maxSize) {
            std::memcpy(data, mutated.data(), mutated.size());
            return mutated.size();
        }
    }
    return LLVMFuzzerMutate(data, size, maxSize);
}
#else
void rememberReached(const uint8_t*, size_t) {}
#endif

// Inputs so far that reached module loading; read by the corpus replay test.
unsigned long configureFuzzReached() {
    return counts.reached;
}

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    for (int i = 1; i < *argc; ++i)
        if (std::strcmp((*argv)[i], "--reach-report") == 0) std::atexit(printReach);
    char folder[] = "/dev/shm/rq7-configure-fuzz.XXXXXX";
    char fallback[] = "/tmp/rq7-configure-fuzz.XXXXXX";
    const char* made = ::mkdtemp(folder);
    if (!made) made = ::mkdtemp(fallback);
    if (!made) std::abort();
    savePath = std::string(made) + "/board";
    std::atexit(removeSaveFolder);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    ++counts.inputs;
    xrt::exrt_error code;
    quorl::ConfigurationPtr cfg = quorl::loadConfigurationFromMemory(reinterpret_cast<const char*>(data), size, &code);
    if (!cfg) return 0;
    ++counts.loaded;

    auto configure = makePlugin(cfg);
    configure->configure();
    if (!configure->getModuleList().empty()) {
        ++counts.reached;
        rememberReached(data, size);
    }

    auto disable = makePlugin(cfg);
    disable->disableTrace();
    return 0;
}
