// The way back to the loop: work of other threads is posted to the one thread that runs all
// connections and the service, so that their objects need no lock.
#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <utility>

namespace redfish {

// Runs a piece of work on the loop's thread, later, in the order of the calls. Any thread. Work
// that is posted after the loop has ended is dropped.
using Post = std::function<void(std::function<void()>)>;

// Keeps posted work from reaching an object that has ended. The object owns the guard as a member
// and posts through guard(). Must end on the loop's thread, or after the loop.
class PostGuard {
public:
    PostGuard() = default;
    ~PostGuard() { *isAlive_ = false; }
    PostGuard(const PostGuard&) = delete;
    PostGuard& operator=(const PostGuard&) = delete;

    // Returns a Post for use by the owner of this guard, from any thread: wraps `post` so that its
    // work is dropped once this guard has ended.
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
    // Shared with the posted work, which may outlive the guard.
    std::shared_ptr<std::atomic<bool>> isAlive_ = std::make_shared<std::atomic<bool>>(true);
};

} // namespace redfish
