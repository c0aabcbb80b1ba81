// orvane-redfish: assembles the parts and runs them until a signal.
#include "client/address.h"
#include "redfish/gateway/event_reader.h"
#include "redfish/installation.h"
#include "redfish/options.h"
#include "redfish/security/certificate.h"
#include "redfish/server/server.h"
#include "redfish/service/responses.h"
#include "redfish/service/service.h"

#include <csignal>
#include <iostream>

namespace {

// One password at a time, since each takes a core and megabytes.
constexpr std::size_t kCheckThreads = 1;
constexpr std::size_t kMaxChecks = 16;

redfish::ServerOptions serverOptions(const redfish::Options& options) {
    redfish::ServerOptions server{.address = options.listen,
                                  .port = options.port,
                                  .isClear = options.isClear,
                                  .certificate = options.certificate,
                                  .key = options.key,
                                  .limits = options.limits};
    if (!options.isClear && options.certificate.empty()) {
        const redfish::CertificateFiles files =
            redfish::ensureCertificate(options.state, redfish::ownNames());
        server.certificate = files.certificate;
        server.key = files.key;
    }
    return server;
}

void sayAddress(const redfish::Options& options, std::uint16_t port) {
    const bool isBracketed = options.listen.find(':') != std::string::npos;
    std::cout << "orvane-redfish: serving " << (options.isClear ? "http" : "https") << "://"
              << (isBracketed ? "[" + options.listen + "]" : options.listen) << ":" << port
              << "/redfish/v1/" << std::endl;
}

void serve(const redfish::Options& options) {
    const client::Address store = client::chooseAddress(options.store);
    redfish::prepareStateFolder(options.state);
    redfish::Accounts accounts(options.state / "accounts.json");
    if (const std::optional<std::string> password = redfish::makeFirstAccount(accounts)) {
        redfish::tellFirstPassword(options.state, *password);
    }
    // Ends last, since the threads of the other parts post to it.
    redfish::Server server(serverOptions(options), [&options](unsigned int status) {
        return redfish::unreadableResponse(status, options.limits.headerBytes,
                                           options.limits.bodyBytes);
    });
    redfish::Sessions sessions({});
    redfish::WorkerPool checks(kCheckThreads, kMaxChecks);
    redfish::Authenticator authenticator(accounts, sessions, checks, server.post());
    redfish::Gateway gateway({.store = store, .timeout = options.timeout}, server.post());
    redfish::EventHub events({.streams = options.streams, .queued = 256, .remembered = 1000},
                             [&](const redfish::EventHub::Listener& each) {
                                 const redfish::Account* const account = accounts.find(each.user);
                                 return account != nullptr && account->isEnabled &&
                                        (each.sessionId.empty() ||
                                         sessions.find(each.sessionId, redfish::Clock::now()) !=
                                             nullptr);
                             });
    redfish::Service service({.accounts = accounts,
                              .sessions = sessions,
                              .authenticator = authenticator,
                              .hashing = checks,
                              .webGui = redfish::accessTo(gateway),
                              .events = events,
                              .post = server.post()},
                             {.uuid = redfish::installationUuid(options.state),
                              .version = ORVANE_REDFISH_VERSION,
                              .web = options.web});
    const redfish::EventReader reader(
        store, gateway, server.post(),
        [&events](const std::vector<client::Event>& received, bool isOld,
                  const std::string& instance) { events.publish(received, isOld, instance); });
    sayAddress(options, server.port());
    server.run([&service](const redfish::Request& request,
                          const redfish::Respond& respond) { service.handle(request, respond); },
               true);
}

} // namespace

int main(int argc, char** argv) {
    try {
        redfish::Options options;
        switch (redfish::parseOptions(argc, argv, options)) {
        case redfish::Parsed::done:
            return 0;
        case redfish::Parsed::wrong:
            return 2;
        case redfish::Parsed::run:
            break;
        }
        std::signal(SIGPIPE, SIG_IGN);
        serve(options);
        return 0;
    } catch (const std::exception& error) {
        std::cerr << "orvane-redfish: " << error.what() << std::endl;
        return 1;
    }
}
