// A request and its answer, as the service sees them: plain records. Reading the one from a
// connection and writing the other to it is left to redfish/server/.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace redfish {

enum class Method : std::uint8_t { get, head, post, patch, put, remove, options, other };

// As it stands in a request line; "" for other.
std::string_view nameOf(Method method);

// The texts are borrowed: they are there until the answer has been given.
struct Request {
    Method method = Method::get;
    std::string path;  // percent-decoded, without the query
    std::string query; // as sent, without the question mark
    std::string_view authorization;
    std::string_view token; // X-Auth-Token
    std::string_view ifMatch;
    std::string_view ifNoneMatch;
    std::string_view contentType;
    std::string_view accept;
    std::string_view acceptEncoding;
    std::string_view odataVersion;
    std::string_view lastEventId;
    std::string_view body;
    std::string_view peer; // address of the other side
};

// What a stream of events hands to its connection. All calls on the thread of the connections.
class Feed {
public:
    Feed() = default;
    virtual ~Feed() = default;
    Feed(const Feed&) = delete;
    Feed& operator=(const Feed&) = delete;

    // The next piece of text; null when there is none at present.
    virtual std::shared_ptr<const std::string> take() = 0;
    // No more is to be expected: the connection is to be closed when take() gives null.
    virtual bool hasEnded() const = 0;
    // `ready` is called whenever one of the two may have changed. Empty: nobody listens.
    virtual void onReady(std::function<void()> ready) = 0;
};

using Text = std::shared_ptr<const std::string>;
using Headers = std::vector<std::pair<std::string_view, std::string>>; // names are literals

struct Response {
    unsigned int status = 200;
    Headers headers;
    std::string_view contentType; // a literal; empty: no content
    Text body;                    // may be shared; null: no content
    std::shared_ptr<Feed> feed;   // where the content is a stream of events
};

inline Text makeText(std::string text) {
    return std::make_shared<const std::string>(std::move(text));
}

// Gives the answer to a request, once, on the thread of the connections.
using Answer = std::function<void(Response)>;

// Has a piece of work done on the thread of the connections. Any thread.
using Post = std::function<void(std::function<void()>)>;

inline constexpr std::string_view kJsonType = "application/json; charset=utf-8";

} // namespace redfish
