// The program orvane-redfish of this build on a free loopback port, and curl to talk to it.
#pragma once

#include "tests/support/child_process.h"
#include "tests/support/stack.h"
#include "tests/support/temporary_folder.h"

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace test {

struct HttpAnswer {
    int status = 0;                             // 0: there was none
    std::map<std::string, std::string> headers; // names in lower case
    std::string body;
};

class RedfishProcess {
public:
    // Listens when the constructor returns; its state folder is empty at first.
    RedfishProcess(const std::string& store, const std::vector<std::string>& options = {});
    ~RedfishProcess(); // SIGTERM; fails the test unless it ends with status 0

    // Stops and starts the program, with the same state folder on another port.
    void restart();

    std::string authority() const { return part_.address(); }
    std::string url(const std::string& path) const { return "https://" + authority() + path; }
    std::string certificate() const { return folder_.file("redfish/certificate.pem"); }
    std::string firstPassword() const;
    std::string output() const {
        return readFile(folder_.file("out")) + readFile(folder_.file("err"));
    }
    const TemporaryFolder& folder() const { return folder_; }

    // A curl command for a path, with the token of an administrator's session.
    std::vector<std::string> curl(const std::string& method, const std::string& path,
                                  const std::vector<std::string>& more = {});
    // The same without any credentials.
    std::vector<std::string> strangersCurl(const std::string& method, const std::string& path,
                                           const std::vector<std::string>& more = {}) const;

    HttpAnswer ask(const std::string& method, const std::string& path,
                   const std::vector<std::string>& more = {});
    HttpAnswer askAsStranger(const std::string& method, const std::string& path,
                             const std::vector<std::string>& more = {}) const;
    // With a body of JSON.
    HttpAnswer send(const std::string& method, const std::string& path, const std::string& body,
                    std::vector<std::string> more = {});
    // The response to signing in.
    HttpAnswer signIn(const std::string& user, const std::string& password) const;

private:
    void start();
    void stop();

    std::vector<std::string> options_;
    std::string store_;
    TemporaryFolder folder_;
    StackPart part_;
    std::unique_ptr<ChildProcess> process_;
    std::string token_;
};

// What curl --include printed.
HttpAnswer parseAnswer(const std::string& text);

} // namespace test
