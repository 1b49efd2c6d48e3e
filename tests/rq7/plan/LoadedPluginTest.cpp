// A plan over a plugin that has already loaded the file (and built its
// modules, as lint does) must be the plan of a fresh load.
#include "plugin/TraceTargetConfigPluginKA2.h"
#include "rq7/Plan.h"
#include "tools/socgen/SocGen.h"

#include <gtest/gtest.h>

#include <boost/filesystem.hpp>

#include <fstream>
#include <functional>
#include <string>
#include <tuple>

namespace {

namespace fs = boost::filesystem;

std::string readAll(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

auto key(const rq7::Access& a) {
    return std::make_tuple(a.op, a.module, a.reg, a.space, a.address, a.width, a.value);
}

struct Case {
    const char* name;
    std::function<std::string()> text;
    bool modulesBuilt;  // the holder has built its modules before planning
};

class PlanOverLoadedPlugin : public testing::TestWithParam<Case> {};

TEST_P(PlanOverLoadedPlugin, EqualsThePlanOfAFreshLoad) {
    const fs::path dir = fs::temp_directory_path() / fs::unique_path("rq7-plan-loaded-%%%%%%");
    fs::create_directories(dir);
    const std::string file = (dir / "soc.xml").string();
    std::ofstream(file, std::ios::binary) << GetParam().text();

    const rq7::Plan fresh = rq7::makePlan(file, rq7::PlanOptions());
    CONFIG_KA2::TraceTargetConfigPluginKA2 plugin("test", "1.0.0", file, "test");
    if (GetParam().modulesBuilt) plugin.loadModules();
    const rq7::Plan held = rq7::makePlan(plugin, file, rq7::PlanOptions());

    EXPECT_EQ(held.success, fresh.success);
    ASSERT_EQ(held.accesses.size(), fresh.accesses.size());
    for (size_t i = 0; i < fresh.accesses.size(); ++i)
        ASSERT_EQ(key(held.accesses[i]), key(fresh.accesses[i])) << "access " << i;
    EXPECT_FALSE(fresh.accesses.empty());
    // The file is never written.
    EXPECT_EQ(readAll(file), GetParam().text());
    fs::remove_all(dir);
}

INSTANTIATE_TEST_SUITE_P(
    Files, PlanOverLoadedPlugin,
    testing::Values(Case{"Example", [] { return readAll(std::string(RQ7_EXAMPLES_DIR) + "/ka7710x_logger.xml"); },
                         true},
                    Case{"Soc8", [] { return socgen::generatedSoc(8); }, false},
                    Case{"Soc8ModulesBuilt", [] { return socgen::generatedSoc(8); }, true}),
    [](const testing::TestParamInfo<Case>& info) { return std::string(info.param.name); });

}  // namespace
