// The base of the service's tests: the process-wide objects as they are after start-up, on the
// test's own connection. The destructor restores the real plugin object.
#pragma once

#include "process_state.h"
#include "service/plugin_objects.h"
#include "tests/doubles/platform_test.h"

#include <string>
#include <utility>
#include <vector>

namespace service_test {

using Calls = std::vector<std::string>;

inline constexpr char kInstance[] = "80000000-0000-0000-0000-008000000000";
inline constexpr char kChannel[] = "Reply:1";

// The address of another module's G_ModelNames.
const void* otherModelNames();

class ServiceTest : public doubles::PlatformTest {
protected:
    ServiceTest()
        : connection_(std::exchange(G_Plugin.m_redis, doubles::context())),
          bindings_(G_Plugin.m_bindings) {
        doubles::ignore("tql_update_ssqlcol_struct");
        G_ResourceTypeIds = {"schema-type",     "webgui-type",   "actions-type", "oem-type",
                             "turnofflcd-type", "guiready-type", "collection"};
        G_InstanceKeys = {kInstance};
    }
    ~ServiceTest() override {
        destroyWebGUIAgent();
        G_Plugin.m_redis = connection_;
        G_Plugin.m_bindings = bindings_;
        G_Plugin.m_typeId.clear();
        G_Plugin.m_instanceCollection.clear();
        G_ResourceTypeIds = {};
        G_InstanceKeys.clear();
    }

public:
    ServiceTest(const ServiceTest&) = delete;
    ServiceTest& operator=(const ServiceTest&) = delete;

protected:
    // Creates the agent, then clears the record and the output.
    void startAgent() {
        createWebGUIAgent();
        doubles::calls();
        output();
        errors();
    }

    // The answers that were sent, as "channel: id arguments".
    static std::vector<std::string> answersSent(const Calls& calls) {
        std::vector<std::string> answers;
        std::string text;
        for (const std::string& call : calls) {
            const std::vector<std::string> texts = textsOf(call);
            if (call.starts_with("osselCreateReturnMessage(")) {
                text.clear();
                for (std::size_t i = 1; i < texts.size(); ++i) {
                    text += ' ' + texts[i];
                }
            } else if (call.starts_with("osselPublishToChannel(")) {
                answers.push_back(texts.at(0) + ':' + text);
            }
        }
        return answers;
    }

private:
    // The quoted texts in a call.
    static std::vector<std::string> textsOf(const std::string& call) {
        std::vector<std::string> texts;
        for (std::size_t at = call.find('"'); at != std::string::npos;) {
            const std::size_t end = call.find('"', at + 1);
            texts.push_back(call.substr(at + 1, end - at - 1));
            at = call.find('"', end + 1);
        }
        return texts;
    }

    redisContext* connection_;
    std::map<unsigned int, ovrBindCAPIToOssel*> bindings_;
};

} // namespace service_test
