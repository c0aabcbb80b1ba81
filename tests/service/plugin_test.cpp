// The plugin object: its connection, its map of bindings, its lookup: service/plugin.h.
#include "tests/service/service_fixture.h"

#include <type_traits>

const void* service_test::otherModelNames() {
    return &G_ModelNames;
}

namespace {

using Plugin = ovrPlugin<ovrBindCAPIToOssel>;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

static_assert(std::has_virtual_destructor_v<Plugin>);
static_assert(std::is_nothrow_destructible_v<Plugin>);

class PluginTest : public service_test::ServiceTest {
protected:
    PluginTest() { doubles::calls(); }

    std::string constructedLine() const {
        std::ostringstream line;
        line << std::hex << "Constructed ovrPlugin with "
             << reinterpret_cast<std::uintptr_t>(&binding) << '\n';
        return line.str();
    }

    ovrBindCAPIToOssel binding;
};

TEST_F(PluginTest, ConnectsAndRecordsItsBinding) {
    doubles::calls();
    Plugin plugin(1, 100, &binding);
    EXPECT_THAT(doubles::calls(), ElementsAre("osselRedisConnect()"));
    EXPECT_NE(plugin.m_redis, nullptr);
    EXPECT_THAT(plugin.m_bindings, ElementsAre(Pair(100U, &binding)));
    EXPECT_EQ(plugin.m_bindCount, 1U);
    EXPECT_EQ(plugin.m_option, 15);
    EXPECT_EQ(plugin.m_schemaType + plugin.m_typeId + plugin.m_instanceCollection, "");
    EXPECT_EQ(output(), constructedLine());
    EXPECT_EQ(errors(), "");
}

TEST_F(PluginTest, ShowsTheBindingInHexadecimalWithoutAPrefix) {
    const Plugin plugin(1, 100, &binding);
    EXPECT_THAT(output(), testing::MatchesRegex("Constructed ovrPlugin with [1-9a-f][0-9a-f]*\n"));
}

TEST_F(PluginTest, LeavesStandardOutputInHexadecimal) {
    decimalStream();
    const Plugin plugin(1, 100, &binding);
    output();
    logLine("name", 20, ' ', -1);
    EXPECT_EQ(output(), "[name]: 14 ffffffff\n");
    EXPECT_EQ(std::cout.flags() & std::ios_base::basefield, std::ios_base::hex);
    writeErrorLine(20);
    EXPECT_EQ(errors(), "20\n");
}

TEST_F(PluginTest, OfAnotherDatabaseTypeHasNoConnectionButItsBinding) {
    for (const int type : {0, 2, -1}) {
        doubles::calls();
        {
            const Plugin plugin(type, 7, &binding);
            EXPECT_EQ(output(), "The database type is not cared.\n" + constructedLine()) << type;
            EXPECT_EQ(plugin.m_redis, nullptr);
            EXPECT_THAT(plugin.m_bindings, ElementsAre(Pair(7U, &binding)));
            EXPECT_EQ(plugin.m_bindCount, 1U);
        }
        EXPECT_THAT(doubles::calls(), IsEmpty()) << type;
    }
}

TEST_F(PluginTest, LogsNothingWhenItCannotConnect) {
    doubles::fail("osselRedisConnect");
    doubles::calls();
    {
        const Plugin plugin(1, 100, &binding);
        EXPECT_EQ(plugin.m_redis, nullptr);
        EXPECT_EQ(output(), constructedLine());
        EXPECT_EQ(errors(), "");
    }
    EXPECT_THAT(doubles::calls(), ElementsAre("osselRedisConnect()"));
}

TEST_F(PluginTest, ClosesItsConnectionAndLeavesTheBindingAlone) {
    { const Plugin plugin(1, 100, &binding); }
    EXPECT_THAT(doubles::calls(), ElementsAre("osselRedisConnect()", "osselRedisDisconnect(ctx1)"));
    EXPECT_EQ(doubles::openConnections(), 0);
}

TEST_F(PluginTest, TakesANullBinding) {
    const Plugin plugin(1, 100, nullptr);
    EXPECT_EQ(output(), "Constructed ovrPlugin with 0\n");
    EXPECT_THAT(plugin.m_bindings, ElementsAre(Pair(100U, nullptr)));
}

TEST(ProcessWidePlugin, HoldsTheProcessWideBindingUnderItsIdOnAConnection) {
    EXPECT_EQ(kPluginId, 100U);
    EXPECT_THAT(G_Plugin.m_bindings, ElementsAre(Pair(100U, &G_Binding)));
    EXPECT_EQ(G_Plugin.m_bindCount, 1U);
    EXPECT_EQ(G_Plugin.m_option, 15);
    EXPECT_NE(G_Plugin.m_redis, nullptr);
}

// --- Lookup ---------------------------------------------------------------------------

class SchemaLookup : public PluginTest {
protected:
    SchemaLookup() : plugin(1, 100, &binding) {
        output();
        doubles::calls();
    }
    void expectFields(const char* schemaType, const char* typeId, const char* collection) const {
        EXPECT_EQ(plugin.m_schemaType, schemaType);
        EXPECT_EQ(plugin.m_typeId, typeId);
        EXPECT_EQ(plugin.m_instanceCollection, collection);
    }

    Plugin plugin;
};

constexpr char kType[] = "#OrvaneWebGUI.1.0.0.WebGUI";
constexpr char kFindType[] =
    "olGetSchemaTypeIdByField(\"OsselSchemaInstances\", \"title\", \"#OrvaneWebGUI.1.0.0.WebGUI\")";
constexpr char kFindCollection[] = "olObjGetProperty(\"schema-type\", \"instanceCollection\")";

TEST_F(SchemaLookup, FindsTypeIdAndCollection) {
    doubles::provision();
    EXPECT_TRUE(plugin.lookupSchemaTypeIds(kType));
    EXPECT_THAT(doubles::calls(), ElementsAre(kFindType, kFindCollection));
    expectFields(kType, "schema-type", "collection");
    EXPECT_EQ(output() + errors(), "");
}

TEST_F(SchemaLookup, StopsAtAnUnknownType) {
    EXPECT_FALSE(plugin.lookupSchemaTypeIds(kType));
    EXPECT_THAT(doubles::calls(), ElementsAre(kFindType));
    EXPECT_EQ(output(), "Failed to get the schema typeId.\n");
    EXPECT_EQ(errors(), "");
    expectFields(kType, "", "");
}

TEST_F(SchemaLookup, KeepsTheTypeIdOfATypeWithoutACollection) {
    doubles::schema("title", kType, "schema-type");
    EXPECT_FALSE(plugin.lookupSchemaTypeIds(kType));
    EXPECT_THAT(doubles::calls(), ElementsAre(kFindType, kFindCollection));
    EXPECT_EQ(output(), "Failed to get the instance collection key.\n");
    EXPECT_EQ(errors(), "");
    expectFields(kType, "schema-type", "");
}

TEST_F(SchemaLookup, OverwritesEarlierValues) {
    doubles::provision();
    plugin.lookupSchemaTypeIds(kType);
    doubles::schema("title", "other", "other-type");
    doubles::hashes()["other-type"] = {{"instanceCollection", "other-collection"}};
    EXPECT_TRUE(plugin.lookupSchemaTypeIds("other"));
    expectFields("other", "other-type", "other-collection");
}

TEST_F(SchemaLookup, KeepsTheEarlierValuesThatAFailureDoesNotReach) {
    doubles::provision();
    plugin.lookupSchemaTypeIds(kType);
    EXPECT_FALSE(plugin.lookupSchemaTypeIds("unknown"));
    expectFields("unknown", "schema-type", "collection");
    doubles::schema("title", "half", "half-type");
    EXPECT_FALSE(plugin.lookupSchemaTypeIds("half"));
    expectFields("half", "half-type", "collection");
}

TEST_F(SchemaLookup, TakesItsOwnFieldAsTheArgument) {
    doubles::provision();
    plugin.m_typeId = kType;
    EXPECT_TRUE(plugin.lookupSchemaTypeIds(plugin.m_typeId.c_str()));
    expectFields(kType, "schema-type", "collection");
}

} // namespace
