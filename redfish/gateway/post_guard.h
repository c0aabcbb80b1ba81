// Keeps posted work from reaching an object that has ended meanwhile.
#pragma once

#include "redfish/http/message.h"

#include <atomic>
#include <memory>
#include <utility>

namespace redfish {

// A member of the object that posts. Ends on the thread of the connections, or after it.
class PostGuard {
public:
    PostGuard() = default;
    ~PostGuard() { *isAlive_ = false; }
    PostGuard(const PostGuard&) = delete;
    PostGuard& operator=(const PostGuard&) = delete;

    // `post`, of which the work is dropped once this guard has ended.
    Post guard(Post post) const {
        return [isAlive = isAlive_, post = std::move(post)](std::function<void()> work) {
            post([isAlive, work = std::move(work)] {
                if (*isAlive) {
                    work();
                }
            });
        };
    }

private:
    std::shared_ptr<std::atomic<bool>> isAlive_ = std::make_shared<std::atomic<bool>>(true);
};

} // namespace redfish
