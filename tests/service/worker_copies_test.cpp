// Handlers get copies of their own: service/worker_threads.cpp. The entry points of requests/ are
// replaced by some that change every argument.
#include "requests/message_dispatch.h"
#include "requests/read_requests.h"
#include "requests/update_requests.h"
#include "service/worker_threads.h"
#include "tests/service/service_fixture.h"

#include <utility>

namespace {

using service_test::kInstance;
using testing::ElementsAre;

// What each request received.
std::vector<std::string>& seen() {
    static std::vector<std::string> seen;
    return seen;
}

void seeAndChange(std::string& msgId, std::string& reqArg, std::string& replyChannel,
                  InstanceKeySet& keys) {
    std::string text = msgId + ' ' + reqArg + ' ' + replyChannel;
    for (const std::string& key : keys) {
        text += ' ' + key;
    }
    seen().push_back(text);
    keys.clear();
    keys.insert("of this request alone");
    msgId = reqArg = replyChannel = "changed";
}

class WorkerCopies : public service_test::ServiceTest {
protected:
    WorkerCopies() { seen().clear(); }

    // Serves two equal requests.
    static void serveTwice(fnTypes function, doubles::WorkerBody body) {
        for (int i = 0; i < 2; ++i) {
            doubles::host().queues.at(function).emplace_back("id", "argument", "channel");
        }
        EXPECT_TRUE(doubles::runWorker(body).endedByHost);
    }
    static void expectNothingChanged() {
        EXPECT_THAT(G_InstanceKeys, ElementsAre(kInstance));
        EXPECT_EQ(G_ResourceTypeIds.schemaTypeId, "schema-type");
        EXPECT_EQ(G_ResourceTypeIds.instanceCollectionKey, "collection");
    }
};

const std::string kSeen = std::string("id argument channel ") + kInstance;

TEST_F(WorkerCopies, OfAReadAreItsOwn) {
    serveTwice(fnRead, OrvaneWebGUI_ReadObject);
    EXPECT_THAT(seen(), ElementsAre(kSeen, kSeen));
    expectNothingChanged();
}

TEST_F(WorkerCopies, OfAnUpdateAreItsOwn) {
    serveTwice(fnUpdate, OrvaneWebGUI_UpdateObject);
    EXPECT_THAT(seen(), ElementsAre(kSeen, kSeen));
    expectNothingChanged();
}

TEST_F(WorkerCopies, OfACreationAreItsOwnIncludingTypeIds) {
    serveTwice(fnCreate, OrvaneWebGUI_CreateObject);
    const std::string ids = "schema-type collection";
    EXPECT_THAT(seen(), ElementsAre(kSeen, ids, kSeen, ids));
    expectNothingChanged();
}

} // namespace

void readObject(redisContext*, std::string messageId, std::string objectKey,
                std::string replyChannel, int, const ReadHandlerEntry*, InstanceKeySet keys) {
    seeAndChange(messageId, objectKey, replyChannel, keys);
}

void updateObject(redisContext*, std::string messageId, std::string objectKey,
                  std::string replyChannel, int, const UpdateHandlerEntry*, InstanceKeySet keys) {
    seeAndChange(messageId, objectKey, replyChannel, keys);
}

void createObjectOrActionObject(redisContext*, std::string messageId, std::string objectKey,
                                std::string replyChannel, int, const ActionHandlerEntry*, int,
                                const UpdateHandlerEntry*, std::string schemaTypeId,
                                std::string instanceCollectionKey, InstanceKeySet keys) {
    seeAndChange(messageId, objectKey, replyChannel, keys);
    seen().push_back(schemaTypeId + ' ' + instanceCollectionKey);
    schemaTypeId = instanceCollectionKey = "changed";
}
