// orvanectl status: is the store up, is a provider registered, listening and answering? Prints each
// step up to the first that fails.
#include "client/discovery.h"
#include "orvanectl/commands.h"

#include <nlohmann/json.hpp>

namespace orvanectl {

namespace {

// The steps, in both forms of output.
class Report {
public:
    Report() : json_(nlohmann::ordered_json::object()) {}
    Report(const Report&) = delete;
    Report& operator=(const Report&) = delete;

    void add(const std::string& name, const std::string& state, const std::string& detail,
             nlohmann::ordered_json json) {
        rows_.push_back({name, state, detail});
        json_[name] = std::move(json);
    }

    // Adds the step that failed, the last one. Returns the status.
    int fail(const std::string& name, const std::string& reason, int status) {
        add(name, "no", reason, {{"ok", false}, {"reason", reason}});
        return status;
    }

    void print(const Context& context) const {
        context.options.json ? context.output.print(json_) : context.output.print(rows_);
    }

private:
    std::vector<Row> rows_;
    nlohmann::ordered_json json_;
};

std::string durationText(std::chrono::seconds time) {
    const long long seconds = time.count();
    if (seconds < 60) {
        return std::to_string(seconds) + " s";
    }
    const long long minutes = seconds / 60;
    if (minutes < 60) {
        return std::to_string(minutes) + " min " + std::to_string(seconds % 60) + " s";
    }
    return std::to_string(minutes / 60) + " h " + std::to_string(minutes % 60) + " min";
}

void addStore(client::StoreConnection& store, Report& report) {
    store.command({"PING"});
    report.add("store", "up", store.address().text(),
               {{"ok", true}, {"address", store.address().text()}});
}

std::string addProvider(client::StoreConnection& store, Report& report) {
    std::string channel = client::findProvider(store);
    report.add("registered", "yes", channel, {{"ok", true}, {"channel", channel}});
    return channel;
}

void addListening(client::StoreConnection& store, const std::string& channel, Report& report) {
    const long long listeners = client::countListeners(store, channel);
    if (listeners == 0) {
        throw client::NobodyThere("nobody listens on channel \"" + channel +
                                  "\"; start the provider");
    }
    nlohmann::ordered_json json{{"ok", true}, {"listeners", listeners}};
    std::string detail = std::to_string(listeners) + (listeners == 1 ? " listener" : " listeners");
    if (const auto age = client::listeningFor(store, channel)) {
        const auto since = std::chrono::system_clock::now() - *age;
        detail += ", for " + durationText(*age);
        json["seconds"] = age->count();
        json["since"] = std::chrono::system_clock::to_time_t(since);
    }
    report.add("listening", "yes", detail, json);
}

int addAnswering(client::WebGui& webGui, Report& report) {
    const client::Answer answer = webGui.read();
    const std::string time = std::to_string(answer.latency.count());
    nlohmann::ordered_json json = toJson(answer);
    json["ok"] = answer.isSuccess();
    json["microseconds"] = answer.latency.count();
    report.add("answering", answer.isSuccess() ? "yes" : "no",
               answer.text() + " in " + time + " us", json);
    return statusOf(answer);
}

int check(const Context& context, Report& report) {
    client::WebGui webGui = context.connect();
    const char* step = "store";
    try {
        addStore(webGui.store(), report);
        step = "registered";
        const std::string channel = addProvider(webGui.store(), report);
        step = "listening";
        addListening(webGui.store(), channel, report);
        step = "answering";
        return addAnswering(webGui, report);
    } catch (const client::Stopped&) {
        throw;
    } catch (const client::Error& error) {
        return report.fail(step, error.what(), kNobodyThere);
    }
}

int status(const Context& context) {
    Report report;
    const int result = check(context, report);
    report.print(context);
    return result;
}

} // namespace

void addStatus(CLI::App& app, Command& chosen) {
    CLI::App* const command =
        app.add_subcommand("status", "Check that the store is up and the provider answers");
    command->callback([&chosen] { chosen = status; });
}

} // namespace orvanectl
