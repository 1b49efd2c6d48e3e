// Replays the configure fuzz target's seed corpus (and every input a fuzz
// run found worth keeping there) in the ordinary test builds: each file runs
// the whole configure and disable path without a fault, and reaches the
// modules; and most mutations of a seed still reach them.
#include "tests/fuzz/configure/ConfigurationMutator.h"

#include <gtest/gtest.h>

#include <dirent.h>

#include <cstdint>
#include <fstream>
#include <sstream>
#include <string>

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv);
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);
unsigned long configureFuzzReached();

namespace {

void initialize() {
    static bool done = false;
    if (done) return;
    done = true;
    int argc = 1;
    char name[] = "replay";
    char* args[] = {name, nullptr};
    char** argv = args;
    LLVMFuzzerInitialize(&argc, &argv);
}

std::string readCorpusFile(const std::string& name) {
    std::ifstream in(std::string(CORPUS_DIR) + "/" + name, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

unsigned long runInput(const std::string& input) {
    const unsigned long before = configureFuzzReached();
    EXPECT_EQ(LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(input.data()), input.size()), 0);
    return configureFuzzReached() - before;
}

}  // namespace

TEST(ConfigureFuzzCorpus, EveryFileRunsAndReachesTheModules) {
    initialize();
    DIR* d = ::opendir(CORPUS_DIR);
    ASSERT_NE(d, nullptr);
    unsigned files = 0;
    while (dirent* e = ::readdir(d)) {
        if (e->d_name[0] == '.') continue;
        EXPECT_EQ(runInput(readCorpusFile(e->d_name)), 1u) << e->d_name << " did not reach the modules";
        ++files;
    }
    ::closedir(d);
    EXPECT_GT(files, 0u);
}

// Chains of mutations from the smallest seed, as a fuzz run makes them.
TEST(ConfigureFuzzCorpus, MostMutationsStillReachTheModules) {
    initialize();
    const std::string seed = readCorpusFile("logger.xml");
    ASSERT_FALSE(seed.empty());
    unsigned reached = 0, runs = 0;
    for (unsigned chain = 0; chain < 20; ++chain) {
        std::string text = seed;
        for (unsigned step = 0; step < 10; ++step, ++runs) {
            const std::string next = rq7fuzz::mutateConfiguration(text, chain * 100 + step);
            ASSERT_FALSE(next.empty()) << "chain " << chain << " step " << step;
            text = next;
            reached += runInput(text);
        }
    }
    EXPECT_GE(reached * 2, runs) << reached << " of " << runs;
}
