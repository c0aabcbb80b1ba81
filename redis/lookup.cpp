// Turned down: getaddrinfo_a, whose threads belong to the C library, take the process's signals and
// cannot be waited for by a sanitizer; a resolver library, for one name per connection.
#include "redis/lookup.h"

#include <condition_variable>
#include <csignal>
#include <cstring>
#include <map>
#include <memory>
#include <mutex>
#include <netdb.h>
#include <netinet/in.h>
#include <optional>
#include <system_error>
#include <thread>

namespace redis {

namespace {

struct FreeList {
    void operator()(addrinfo* list) const { ::freeaddrinfo(list); }
};

LookUpResult ask(const std::string& host, int flags, int& code) {
    addrinfo hints{};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = flags;
    addrinfo* found = nullptr;
    code = ::getaddrinfo(host.c_str(), nullptr, &hints, &found);
    const std::unique_ptr<addrinfo, FreeList> list(code == 0 ? found : nullptr);
    LookUpResult result;
    for (const addrinfo* each = list.get(); each != nullptr; each = each->ai_next) {
        SocketAddress& address = result.addresses.emplace_back();
        address.length = each->ai_addrlen;
        std::memcpy(&address.storage, each->ai_addr, each->ai_addrlen);
    }
    if (code != 0) {
        result.problem = ::gai_strerror(code);
    }
    return result;
}

// A running question to the resolver, shared by its thread and everyone who waits for it.
class Question {
public:
    void answer(LookUpResult result) {
        {
            const std::lock_guard lock(mutex_);
            result_ = std::move(result);
        }
        answered_.notify_all();
    }

    std::optional<LookUpResult> wait(Deadline deadline) {
        std::unique_lock lock(mutex_);
        answered_.wait_until(lock, deadline, [this] { return result_.has_value(); });
        return result_;
    }

    bool isAnswered() {
        const std::lock_guard lock(mutex_);
        return result_.has_value();
    }

private:
    std::mutex mutex_;
    std::condition_variable answered_;
    std::optional<LookUpResult> result_;
};

// No signal ends up in a thread that the process does not know of.
class AllSignalsBlocked {
public:
    AllSignalsBlocked() {
        sigset_t all;
        ::sigfillset(&all);
        ::pthread_sigmask(SIG_SETMASK, &all, &before_);
    }
    ~AllSignalsBlocked() { ::pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
    AllSignalsBlocked(const AllSignalsBlocked&) = delete;
    AllSignalsBlocked& operator=(const AllSignalsBlocked&) = delete;

private:
    sigset_t before_{};
};

void start(const std::shared_ptr<Question>& question, const std::string& host) {
    const AllSignalsBlocked blocked;
    std::thread([question, host] {
        try {
            int code = 0;
            question->answer(ask(host, 0, code));
        } catch (const std::bad_alloc&) {
            question->answer({{}, "out of memory"});
        }
    }).detach();
}

// The unanswered question about this host, a new one where there is none. Throws std::system_error
// where no thread can be started.
std::shared_ptr<Question> questionAbout(const std::string& host) {
    static std::mutex mutex;
    // Never destroyed: an object that outlives main may still connect in its destructor. Weak: a
    // thread that ends after main touches nothing of this map.
    static auto& running = *new std::map<std::string, std::weak_ptr<Question>>;
    const std::lock_guard lock(mutex);
    std::erase_if(running, [](const auto& entry) { return entry.second.expired(); });
    std::weak_ptr<Question>& entry = running[host];
    std::shared_ptr<Question> question = entry.lock();
    if (question == nullptr || question->isAnswered()) {
        question = std::make_shared<Question>();
        start(question, host);
        entry = question;
    }
    return question;
}

LookUpResult askWithin(const std::string& host, Deadline deadline) {
    try {
        return questionAbout(host)->wait(deadline).value_or(
            LookUpResult{{}, "the look-up of the host did not end in time"});
    } catch (const std::system_error&) {
        return {{}, "no thread for the look-up of the host"};
    }
}

void setPort(SocketAddress& address, int port) {
    const std::uint16_t number = htons(static_cast<std::uint16_t>(port));
    // The port has the same place in both families.
    static_assert(offsetof(sockaddr_in, sin_port) == offsetof(sockaddr_in6, sin6_port));
    sockaddr_in head{};
    std::memcpy(&head, &address.storage, sizeof head);
    head.sin_port = number;
    std::memcpy(&address.storage, &head, sizeof head);
}

} // namespace

LookUpResult lookUp(const std::string& host, int port, Deadline deadline) {
    int code = 0;
    LookUpResult result = ask(host, AI_NUMERICHOST, code);
    if (code == EAI_NONAME) {
        result = askWithin(host, deadline);
    }
    for (SocketAddress& address : result.addresses) {
        setPort(address, port);
    }
    return result;
}

} // namespace redis
