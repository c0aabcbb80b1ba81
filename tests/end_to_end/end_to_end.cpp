// See end_to_end.h. The paths of the programs come from the build.
#include "tests/end_to_end/end_to_end.h"

#include <csignal>

namespace test {

EndToEnd::EndToEnd(std::vector<std::string> redisOptions)
    : redis_(std::make_unique<RedisServer>(std::move(redisOptions))) {
    environment_ = absentDevices({{"run", {folder_.path()}}});
    environment_["OSSEL_REDIS"] = redis_->address();
    const Finished provisioned = orvanectl({"provision"});
    EXPECT_EQ(provisioned.status, 0) << provisioned.error;
}

EndToEnd::~EndToEnd() = default;

void EndToEnd::TearDown() {
    if (daemon_ && daemon_->isRunning()) {
        EXPECT_EQ(stopDaemon(), 0) << "after an orderly stop\n" << output() << errors();
    }
    if (mailbox_) {
        mailbox_->collectAll();
        for (const auto& [channel, answers] : mailbox_->received()) {
            EXPECT_EQ(answers.size(), 1U) << "answers on " << channel;
        }
    }
}

StackValues EndToEnd::stackValues() const {
    return {{"run", {folder_.path()}},
            {"sockets", {std::filesystem::path(redis_->socketPath()).parent_path()}},
            {"wrapper", daemonWrapper()}};
}

void EndToEnd::launchDaemon() {
    daemonPart_ = std::make_unique<StackPart>("daemon", stackValues());
    daemon_ = daemonPart_->launch({}, environment_, folder_.file("daemon.out"),
                                  folder_.file("daemon.err"));
}

void EndToEnd::startDaemon() {
    StackPart("daemon", stackValues()).prepare();
    launchDaemon();
    waitUntilUp();
}

void EndToEnd::waitUntilUp() {
    ASSERT_TRUE(daemonPart_->waitUntilUp(*daemon_)) << output() << errors();
}

std::optional<int> EndToEnd::stopDaemon() {
    daemon_->signal(SIGTERM);
    return daemon_->wait();
}

std::filesystem::path EndToEnd::temporary(const std::string& name) const {
    return folder_.path() / "view" / "tmp" / name;
}

std::filesystem::path EndToEnd::database() const {
    return folder_.path() / "view" / "var-database" / "webgui.db";
}

std::string EndToEnd::field(const std::string& key, const std::string& name) {
    return redis().command({"HGET", key, name});
}

std::string EndToEnd::schemaTypeId() {
    return field("OsselSchemaInstances", "title:#OrvaneWebGUI.1.0.0.WebGUI");
}

std::string EndToEnd::collectionKey() {
    return field(schemaTypeId(), "instanceCollection");
}

Mailbox& EndToEnd::mailbox() {
    if (!mailbox_) {
        mailbox_ = std::make_unique<Mailbox>(redis_->socketPath());
    }
    return *mailbox_;
}

Answer EndToEnd::ask(const std::string& msgId, const std::string& reqArg) {
    const std::string channel = mailbox().newReplyChannel();
    EXPECT_EQ(mailbox().send(msgId, reqArg, channel), 1) << "nobody listens to requests";
    const auto& received = mailbox().received();
    if (!mailbox().collectUntil([&] { return received.contains(channel); })) {
        ADD_FAILURE() << "no answer to " << msgId << " " << reqArg << "\n" << output() << errors();
        return {};
    }
    mailbox().collectAll();
    EXPECT_EQ(received.at(channel).size(), 1U) << "answers to " << msgId << " " << reqArg;
    return mailbox().answer(received.at(channel).front());
}

std::string EndToEnd::requestObject(const Fields& fields, const std::string& target) {
    std::string key = "Request:end-to-end:" + std::to_string(++requestObjects_);
    std::vector<std::string> words{"HSET", key, "OriginalObjID", target};
    for (const auto& [name, value] : fields) {
        words.push_back(name);
        words.push_back(value);
    }
    redis().command(words);
    return key;
}

std::string EndToEnd::displayRequest(const std::map<std::string, std::string>& changes) {
    std::map<std::string, std::string> fields{{"ScreenBrightness", "5"},
                                              {"BacklightOff", "Never"},
                                              {"ActiveAlarmScreensaver", "Enabled"},
                                              {"InactivityTimer", "10 Minutes"},
                                              {"MeasurementSystem", "Metric"},
                                              {"DateFormat", "YYYY-MM-DD"},
                                              {"TimeFormat", "24 Hours"},
                                              {"RoomAverage", "false"},
                                              {"HiLoPeriod", "24 Hours"},
                                              {"Theme", "dark"},
                                              {"EventUserName", "operator"}};
    for (const auto& [name, value] : changes) {
        fields[name] = value;
    }
    return requestObject({fields.begin(), fields.end()});
}

std::string EndToEnd::sql(const std::string& statement) const {
    const Finished finished = run({"sqlite3", "-cmd", ".timeout 5000", database(), statement});
    EXPECT_EQ(finished.status, 0) << finished.error;
    return finished.output.substr(0, finished.output.find_last_not_of('\n') + 1);
}

std::string EndToEnd::setting(const std::string& column) const {
    return sql("SELECT " + column + " FROM webgui_tbl WHERE Name = 'Zolan CMS Web GUI Settings'");
}

std::string EndToEnd::storedTheme() const {
    return sql("SELECT Data FROM View_Theme WHERE Key = 'Theme'");
}

Finished EndToEnd::orvanectl(const std::vector<std::string>& arguments) const {
    std::vector<std::string> words{ORVANE_CTL};
    words.insert(words.end(), arguments.begin(), arguments.end());
    return run(words, environment_);
}

} // namespace test
