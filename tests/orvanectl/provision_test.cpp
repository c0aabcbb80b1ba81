#include "tests/orvanectl/fixture.h"

namespace test {
namespace {

using testing::HasSubstr;
using Provision = OrvanectlTest;

TEST_F(Provision, WritesTheRoadFromTheRegistryToEachTypeId) {
    const Finished finished = orvanectl({"provision"});
    EXPECT_EQ(finished.status, 0) << finished.error;
    const std::string type =
        server.command({"HGET", "OsselSchemaInstances", "title:#OrvaneWebGUI.1.0.0.WebGUI"});
    EXPECT_EQ(server.command({"HGET", type, "title"}), "#OrvaneWebGUI.1.0.0.WebGUI");
    EXPECT_NE(server.command({"HGET", type, "instanceCollection"}), "(nil)");
    const std::string definitions = server.command({"HGET", type, "definitions"});
    const std::string webGui = server.command({"HGET", definitions, "WebGUI"});
    const std::string actions = server.command({"HGET", webGui, "Actions"});
    for (const std::string name : {"Oem", "#WebGUI.TurnOffLCD", "#WebGUI.GUIReady"}) {
        const std::string id = server.command({"HGET", actions, name});
        EXPECT_EQ(server.command({"EXISTS", id}), "1") << name << " leads to " << id;
    }
}

TEST_F(Provision, ChangesNothingTheSecondTime) {
    EXPECT_EQ(orvanectl({"provision"}).status, 0);
    const std::string before = server.command({"INFO", "persistence"});
    const auto changes = [](const std::string& info) {
        return info.substr(info.find("rdb_changes_since_last_save"), 40);
    };
    const Finished again = orvanectl({"provision"});
    EXPECT_EQ(again.status, 0);
    EXPECT_THAT(again.output, testing::Not(HasSubstr("written")));
    EXPECT_THAT(again.output, HasSubstr("unchanged"));
    EXPECT_EQ(changes(server.command({"INFO", "persistence"})), changes(before));
}

TEST_F(Provision, RepairsWhatIsMissing) {
    orvanectl({"provision"});
    server.command({"HDEL", "OsselSchemaInstances", "title:#OrvaneWebGUI.1.0.0.WebGUI"});
    const Finished finished = orvanectl({"provision", "--json"});
    EXPECT_EQ(finished.status, 0);
    int written = 0;
    for (const auto& each : nlohmann::json::parse(finished.output)) {
        written += each.at("written").get<bool>() ? 1 : 0;
    }
    EXPECT_EQ(written, 1);
    EXPECT_NE(server.command({"HGET", "OsselSchemaInstances", "title:#OrvaneWebGUI.1.0.0.WebGUI"}),
              "(nil)");
}

TEST_F(Provision, LeavesASchemaOfSomebodyElseAlone) {
    server.command({"HSET", "OsselSchemaInstances", "title:#OrvaneWebGUI.1.0.0.WebGUI", "other"});
    const Finished finished = orvanectl({"provision"});
    EXPECT_EQ(finished.status, 3);
    EXPECT_THAT(finished.error, HasSubstr("provisioned by somebody else"));
    EXPECT_THAT(finished.error, HasSubstr("\"other\""));
    EXPECT_THAT(keys(), testing::ElementsAre("OsselSchemaInstances"));
}

TEST_F(Provision, NamesAKeyOfAnotherKindAndWritesNothing) {
    server.command({"SET", "OsselSchemaInstances", "text"});
    const Finished finished = orvanectl({"provision"});
    EXPECT_EQ(finished.status, 3);
    EXPECT_THAT(finished.error, HasSubstr("HGET \"OsselSchemaInstances\" failed: WRONGTYPE"));
    EXPECT_THAT(finished.error, HasSubstr("repair or delete it"));
    EXPECT_THAT(keys(), testing::ElementsAre("OsselSchemaInstances"));
}

} // namespace
} // namespace test
