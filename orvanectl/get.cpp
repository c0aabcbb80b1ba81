// orvanectl get: the settings as the instance holds them, or the latency of reads.
#include "client/names.h"
#include "orvanectl/commands.h"
#include "orvanectl/usage.h"

#include <algorithm>
#include <memory>
#include <nlohmann/json.hpp>

namespace orvanectl {

namespace {

// The author of a change is sent along with it and never stored.
bool isReadable(const client::Setting& setting) {
    return setting.name != client::kUserField;
}

struct GetOptions {
    std::vector<std::string> names;
    unsigned int repeat = 0;
};

struct Latency {
    const char* name;
    long long microseconds;
};

// `times` is sorted, and not empty. Percentiles are the nearest rank's.
std::vector<Latency> summarize(const std::vector<long long>& times) {
    const auto rank = [&times](std::size_t percent) {
        return times[(times.size() * percent + 99) / 100 - 1];
    };
    return {{"min", times.front()}, {"p50", rank(50)}, {"p99", rank(99)}, {"max", times.back()}};
}

int measure(const Context& context, unsigned int count) {
    client::WebGui webGui = context.connect();
    std::vector<long long> times;
    for (unsigned int i = 0; i < count; ++i) {
        client::Answer answer = webGui.read();
        if (!answer.isSuccess()) {
            std::string which = "read ";
            which += std::to_string(i + 1);
            which += " of ";
            which += std::to_string(count);
            throw client::AnsweredOtherwise(which, std::move(answer));
        }
        times.push_back(answer.latency.count());
    }
    std::sort(times.begin(), times.end());
    std::vector<Row> rows{{"reads", std::to_string(count)}};
    nlohmann::ordered_json json{{"reads", count}};
    for (const Latency& each : summarize(times)) {
        rows.push_back({each.name, std::to_string(each.microseconds) + " us"});
        json["microseconds"][each.name] = each.microseconds;
    }
    context.options.json ? context.output.print(json) : context.output.print(rows);
    return kSuccess;
}

int get(const Context& context, const GetOptions& options) {
    checkReadable(options.names);
    if (options.repeat > 0) {
        return measure(context, options.repeat);
    }
    client::WebGui webGui = context.connect();
    printSettings(context, selectSettings(webGui.fields(), options.names));
    return kSuccess;
}

} // namespace

std::vector<std::string> readableSettings() {
    std::vector<std::string> names;
    for (const client::Setting& each : client::settings()) {
        if (isReadable(each)) {
            names.emplace_back(each.name);
        }
    }
    return names;
}

void checkReadable(const std::vector<std::string>& names) {
    for (const std::string& name : names) {
        const client::Setting* const setting = client::findSetting(name);
        if (setting == nullptr || !isReadable(*setting)) {
            throw client::InvalidArgument("there is no setting \"" + name +
                                          "\" to show; there are " + joined(readableSettings()));
        }
    }
}

SettingRows selectSettings(const std::map<std::string, std::string>& fields,
                           const std::vector<std::string>& names) {
    SettingRows selected;
    const auto add = [&](const std::string& name, bool isNamed) {
        const auto field = fields.find(name);
        if (field != fields.end()) {
            selected.emplace_back(*field);
        } else if (isNamed) {
            throw client::StoreContents("the instance has no field \"" + name +
                                        "\"; restart the provider");
        }
    };
    for (const std::string& name : names) {
        add(name, true);
    }
    for (const client::Setting& setting : client::settings()) {
        if (names.empty() && isReadable(setting)) {
            add(std::string(setting.name), false);
        }
    }
    return selected;
}

void printSettings(const Context& context, const SettingRows& settings) {
    std::vector<Row> rows;
    nlohmann::ordered_json json = nlohmann::ordered_json::object();
    for (const auto& [name, value] : settings) {
        rows.push_back({name, value});
        json[name] = value;
    }
    context.options.json ? context.output.print(json) : context.output.print(rows);
}

void addGet(CLI::App& app, Command& chosen) {
    CLI::App* const command = app.add_subcommand("get", "Print all settings, or the named ones");
    const auto options = std::make_shared<GetOptions>();
    command->add_option("NAME", options->names, "Settings to print");
    command
        ->add_option("--repeat", options->repeat,
                     "Send N read requests instead and print their latencies")
        ->type_name("N")
        ->check(numberBetween(1U, 10'000'000U, "1 to 10000000"));
    command->callback([&chosen, options] {
        chosen = [options](const Context& context) { return get(context, *options); };
    });
}

} // namespace orvanectl
