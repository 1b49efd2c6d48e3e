// Replays the configure fuzz target's seed corpus (and every input a fuzz
// run found worth keeping there) in the ordinary test builds: each file runs
// the whole configure and disable path without a fault, and reaches the modules.
#include <gtest/gtest.h>

#include <dirent.h>

#include <cstdint>
#include <fstream>
#include <sstream>
#include <string>

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv);
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);
unsigned long configureFuzzReached();

TEST(ConfigureFuzzCorpus, EveryFileRunsAndReachesTheModules) {
    int argc = 1;
    char name[] = "replay";
    char* args[] = {name, nullptr};
    char** argv = args;
    LLVMFuzzerInitialize(&argc, &argv);
    DIR* d = ::opendir(CORPUS_DIR);
    ASSERT_NE(d, nullptr);
    unsigned files = 0;
    while (dirent* e = ::readdir(d)) {
        if (e->d_name[0] == '.') continue;
        std::ifstream in(std::string(CORPUS_DIR) + "/" + e->d_name, std::ios::binary);
        std::ostringstream text;
        text << in.rdbuf();
        const std::string input = text.str();
        const unsigned long before = configureFuzzReached();
        EXPECT_EQ(LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(input.data()), input.size()), 0);
        EXPECT_EQ(configureFuzzReached(), before + 1) << e->d_name << " did not reach the modules";
        ++files;
    }
    ::closedir(d);
    EXPECT_GT(files, 0u);
}
