#include "tests/redfish/end_to_end/redfish_process.h"

#include <algorithm>
#include <cctype>
#include <csignal>
#include <filesystem>
#include <gtest/gtest.h>
#include <sstream>
#include <utility>

namespace test {

HttpAnswer parseAnswer(const std::string& text) {
    HttpAnswer answer;
    std::size_t begin = 0;
    // Skip interim responses.
    while (text.compare(begin, 12, "HTTP/1.1 100") == 0) {
        begin = text.find("\r\n\r\n", begin) + 4;
    }
    const std::size_t end = text.find("\r\n\r\n", begin);
    if (end == std::string::npos) {
        return answer;
    }
    answer.body = text.substr(end + 4);
    std::istringstream lines(text.substr(begin, end - begin));
    std::string line;
    std::getline(lines, line);
    answer.status = std::stoi(line.substr(line.find(' ')));
    while (std::getline(lines, line)) {
        const std::size_t colon = line.find(": ");
        std::string name = line.substr(0, colon);
        std::transform(name.begin(), name.end(), name.begin(), [](char c) {
            return static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        });
        answer.headers[name] = line.substr(colon + 2, line.find('\r') - colon - 2);
    }
    return answer;
}

RedfishProcess::RedfishProcess(const std::string& store, const std::vector<std::string>& options)
    : options_(options), store_(store), part_("redfish", {{"run", {folder_.path()}}}) {
    start();
}

RedfishProcess::~RedfishProcess() {
    stop();
}

void RedfishProcess::start() {
    std::vector<std::string> words{"--store", store_};
    words.insert(words.end(), options_.begin(), options_.end());
    std::filesystem::remove(folder_.file("out"));
    part_.prepare();
    process_ = part_.launch(words, {}, folder_.file("out"), folder_.file("err"));
    ASSERT_TRUE(part_.waitUntilUp(*process_)) << output();
}

void RedfishProcess::stop() {
    process_->signal(SIGTERM);
    EXPECT_EQ(process_->wait(), 0) << output();
    token_.clear();
}

void RedfishProcess::restart() {
    stop();
    start();
}

std::string RedfishProcess::firstPassword() const {
    const std::string text = readFile(folder_.file("redfish/first-password"));
    return text.substr(0, text.find('\n'));
}

std::vector<std::string> RedfishProcess::strangersCurl(const std::string& method,
                                                       const std::string& path,
                                                       const std::vector<std::string>& more) const {
    std::vector<std::string> words{"curl",     "--silent",    "--include",  "--no-buffer",
                                   "--cacert", certificate(), "--max-time", "60"};
    if (method == "HEAD") {
        words.emplace_back("--head");
    } else {
        words.insert(words.end(), {"--request", method});
    }
    words.insert(words.end(), more.begin(), more.end());
    words.push_back(url(path));
    return words;
}

std::vector<std::string> RedfishProcess::curl(const std::string& method, const std::string& path,
                                              const std::vector<std::string>& more) {
    if (token_.empty()) {
        token_ = signIn("admin", firstPassword()).headers["x-auth-token"];
        EXPECT_NE(token_, "") << output();
    }
    std::vector<std::string> words{"--header", "X-Auth-Token: " + token_};
    words.insert(words.end(), more.begin(), more.end());
    return strangersCurl(method, path, words);
}

HttpAnswer RedfishProcess::ask(const std::string& method, const std::string& path,
                               const std::vector<std::string>& more) {
    return parseAnswer(run(curl(method, path, more)).output);
}

HttpAnswer RedfishProcess::askAsStranger(const std::string& method, const std::string& path,
                                         const std::vector<std::string>& more) const {
    return parseAnswer(run(strangersCurl(method, path, more)).output);
}

HttpAnswer RedfishProcess::send(const std::string& method, const std::string& path,
                                const std::string& body, std::vector<std::string> more) {
    more.insert(more.end(), {"--header", "Content-Type: application/json", "--data-binary", body});
    return ask(method, path, more);
}

HttpAnswer RedfishProcess::signIn(const std::string& user, const std::string& password) const {
    return askAsStranger("POST", "/redfish/v1/SessionService/Sessions",
                         {"--header", "Content-Type: application/json", "--data-binary",
                          R"({"UserName":")" + user + R"(","Password":")" + password + R"("})"});
}

} // namespace test
