// The listener, the sweep over all connections, the orderly stop.
#include "redfish/server/server.h"

#include "redfish/server/connection.h"

#include <boost/asio/basic_socket_acceptor.hpp>
#include <boost/asio/ip/address.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/signal_set.hpp>
#include <boost/asio/steady_timer.hpp>
#include <csignal>
#include <iostream>
#include <openssl/ssl.h>
#include <stdexcept>

namespace redfish {

namespace {

namespace asio = boost::asio;
using asio::ip::tcp;
using boost::system::error_code;
using Acceptor = asio::basic_socket_acceptor<tcp, Executor>;

// How often overdue connections are closed.
constexpr std::chrono::milliseconds kSweep{250};
// Pause after a failed accept, usually for lack of descriptors.
constexpr std::chrono::milliseconds kAcceptPause{100};

// Forward secrecy and authenticated encryption only.
constexpr const char* kCiphers = "ECDHE+AESGCM:ECDHE+CHACHA20";

std::string cannotListen(const tcp::endpoint& endpoint, const error_code& failure) {
    const std::string address = endpoint.address().to_string();
    const std::string place = (endpoint.address().is_v6() ? "[" + address + "]" : address) + ":" +
                              std::to_string(endpoint.port());
    if (failure == asio::error::address_in_use) {
        return "cannot listen on " + place +
               ": already in use; stop the other server or choose another --port";
    }
    if (failure == asio::error::access_denied) {
        return "cannot listen on " + place +
               ": no permission; choose a --port of 1024 or above, or grant CAP_NET_BIND_SERVICE";
    }
    return "cannot listen on " + place + ": " + failure.message();
}

// Throws std::runtime_error that names the file if OpenSSL could not use it.
void requireUsable(const std::filesystem::path& file, const error_code& failure) {
    if (failure) {
        throw std::runtime_error(file.string() + ": cannot be used (" + failure.message() +
                                 "); PEM is required");
    }
}

std::unique_ptr<asio::ssl::context> makeTls(const ServerOptions& options) {
    auto tls = std::make_unique<asio::ssl::context>(asio::ssl::context::tls_server);
    SSL_CTX* const native = tls->native_handle();
    SSL_CTX_set_min_proto_version(native, TLS1_2_VERSION);
    SSL_CTX_set_options(native, SSL_OP_NO_RENEGOTIATION | SSL_OP_CIPHER_SERVER_PREFERENCE |
                                    SSL_OP_NO_COMPRESSION);
    // Idle connections return their buffers: an event stream is nearly always idle.
    SSL_CTX_set_mode(native, SSL_MODE_RELEASE_BUFFERS);
    if (SSL_CTX_set_cipher_list(native, kCiphers) != 1) {
        throw std::runtime_error(
            "OpenSSL lacks the required ciphers (AES-GCM or ChaCha20 with ECDHE)");
    }
    error_code failure;
    tls->use_certificate_chain_file(options.certificate.string(), failure);
    requireUsable(options.certificate, failure);
    tls->use_private_key_file(options.key.string(), asio::ssl::context::pem, failure);
    requireUsable(options.key, failure);
    return tls;
}

} // namespace

struct Server::Implementation {
    Implementation(ServerOptions given, ErrorResponder errors)
        : options(std::move(given)),
          addresses(options.limits), context{.io = io,
                                             .limits = options.limits,
                                             .handler = {},
                                             .errors = std::move(errors),
                                             .open = {},
                                             .isStopping = false,
                                             .onEnd = [this] { endWhenEmpty(); }},
          acceptor(io.get_executor()), sweeper(io), signals(io) {
        const asio::ip::address address = asio::ip::make_address(options.address);
        if (options.isClear && !address.is_loopback()) {
            throw std::runtime_error(options.address +
                                     ": clear text is served on a loopback address only; use "
                                     "--listen 127.0.0.1 or leave out --clear-text");
        }
        if (!options.isClear) {
            tls = makeTls(options);
        }
        const tcp::endpoint endpoint(address, options.port);
        acceptor.open(endpoint.protocol());
        acceptor.set_option(asio::socket_base::reuse_address(true));
        error_code failure;
        acceptor.bind(endpoint, failure);
        if (!failure) {
            acceptor.listen(asio::socket_base::max_listen_connections, failure);
        }
        if (failure) {
            throw std::runtime_error(cannotListen(endpoint, failure));
        }
    }

    void accept() {
        acceptor.async_accept([this](const error_code& failure, Socket socket) {
            if (context.isStopping) {
                return;
            }
            if (failure) {
                pause.expires_after(kAcceptPause);
                pause.async_wait([this](const error_code& ended) {
                    if (!ended && !context.isStopping) {
                        accept();
                    }
                });
                return;
            }
            take(std::move(socket));
            accept();
        });
    }

    void take(Socket socket) {
        error_code failure;
        const tcp::endpoint peer = socket.remote_endpoint(failure);
        if (failure) {
            return;
        }
        socket.set_option(tcp::no_delay(true), failure);
        std::string address = peer.address().to_string();
        std::unique_ptr<AddressTable::Visitor> visitor =
            addresses.enter(address, Connection::Clock::now());
        if (visitor) {
            startConnection(context, std::move(socket), std::move(address), std::move(visitor),
                            tls.get());
        }
    }

    void sweep() {
        sweeper.expires_after(kSweep);
        sweeper.async_wait([this](const error_code& ended) {
            if (ended) {
                return;
            }
            const auto now = Connection::Clock::now();
            const bool isOver = context.isStopping && now > farewell;
            closeWhere([&](const Connection& each) { return isOver || each.isOverdue(now); });
            addresses.forgetQuietOnes(now);
            if (context.isStopping && now > farewell + kSweep) {
                io.stop(); // drops handlers that have not responded
            }
            sweep();
        });
    }

    template <typename Condition>
    void closeWhere(Condition condition) {
        for (Connection* const each : context.open) {
            if (condition(*each)) {
                each->close();
            }
        }
    }

    void beginStop() {
        if (context.isStopping) {
            return;
        }
        context.isStopping = true;
        farewell = Connection::Clock::now() + options.limits.farewell;
        error_code ignored;
        acceptor.close(ignored);
        pause.cancel();
        signals.cancel(ignored);
        for (Connection* const each : context.open) {
            each->finish();
        }
        endWhenEmpty();
    }

    void endWhenEmpty() {
        if (isRunning && context.isStopping && context.open.empty()) {
            sweeper.cancel();
            work.reset();
        }
    }

    ServerOptions options;
    AddressTable addresses;
    bool isRunning = false;
    Connection::Clock::time_point farewell;
    ConnectionContext context; // before io, since the connections end with io at the latest
    asio::io_context io{1};
    asio::executor_work_guard<Executor> work{io.get_executor()};
    std::unique_ptr<asio::ssl::context> tls;
    Acceptor acceptor;
    asio::steady_timer sweeper;
    asio::steady_timer pause{io};
    asio::signal_set signals;
};

Server::Server(ServerOptions options, ErrorResponder errors)
    : implementation_(std::make_unique<Implementation>(std::move(options), std::move(errors))) {}

Server::~Server() = default;

std::uint16_t Server::port() const {
    return implementation_->acceptor.local_endpoint().port();
}

Post Server::post() {
    return [io = &implementation_->io](std::function<void()> work) {
        asio::post(*io, [work = std::move(work)] {
            try {
                work();
            } catch (const std::exception& error) {
                // Costs the one request its response, not the program its life.
                std::cerr << "orvane-redfish: unexpected: " << error.what() << std::endl;
            }
        });
    };
}

void Server::run(Handler handler, bool obeysSignals) {
    implementation_->context.handler = std::move(handler);
    if (obeysSignals) {
        implementation_->signals.add(SIGTERM);
        implementation_->signals.add(SIGINT);
        implementation_->signals.async_wait([this](const error_code& failure, int) {
            if (!failure) {
                implementation_->beginStop();
            }
        });
    }
    implementation_->isRunning = true;
    implementation_->accept();
    implementation_->sweep();
    implementation_->io.run();
    implementation_->isRunning = false;
}

void Server::stop() {
    asio::post(implementation_->io, [this] { implementation_->beginStop(); });
}

} // namespace redfish
