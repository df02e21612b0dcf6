// A hand on the mouse and the keyboard of a Wayland desktop, for tests.
//
//   wayland-hand hold SOCKET WIDTH HEIGHT   is there until the compositor ends: a desktop has a mouse and a keyboard only as
//                                           long as somebody holds them
//   wayland-hand do SOCKET WORDS...         has it act: "mousemove 10 20 mousedown 1 mousemove 90 20 mouseup 1 key ctrl+s"

#include "waylandhand/VirtualHand.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <sstream>
#include <stdexcept>
#include <tuple>

namespace {

using rewindle::support::VirtualHand;

/// A descriptor, closed at its end.
class Socket {
public:
    explicit Socket(int descriptor) : descriptor_(descriptor) {
        if (descriptor_ < 0) throw std::runtime_error("no socket");
    }
    ~Socket() { close(descriptor_); }
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;
    [[nodiscard]] int get() const { return descriptor_; }

private:
    int descriptor_;
};

sockaddr_un addressOf(const std::string& path) {
    sockaddr_un address{.sun_family = AF_UNIX, .sun_path = {}};
    if (path.size() >= sizeof address.sun_path) throw std::runtime_error("the socket's path is too long");
    path.copy(address.sun_path, path.size());
    return address;
}

void send(const Socket& socket, const std::string& text) {
    if (write(socket.get(), text.data(), text.size()) != static_cast<ssize_t>(text.size()))
        throw std::runtime_error("nobody listens");
}

std::string receiveAll(const Socket& socket) {
    std::string text;
    std::array<char, 4096> part{};
    for (ssize_t size = 0; (size = read(socket.get(), part.data(), part.size())) > 0;)
        text.append(part.data(), static_cast<std::size_t>(size));
    return text;
}

void hold(const std::string& path, std::uint32_t width, std::uint32_t height) {
    VirtualHand hand(width, height);
    const Socket listening(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const auto address = addressOf(path);
    if (bind(listening.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        listen(listening.get(), 1) != 0)
        throw std::runtime_error("cannot listen at " + path);
    while (true) {
        std::array<pollfd, 2> waiting{{{listening.get(), POLLIN, 0}, {hand.descriptor(), POLLIN, 0}}};
        poll(waiting.data(), waiting.size(), -1);
        if (waiting[1].revents) hand.dispatch();
        if (!waiting[0].revents) continue;
        const Socket caller(accept(listening.get(), nullptr, nullptr));
        std::istringstream text(receiveAll(caller));
        std::vector<std::string> words;
        for (std::string word; text >> word;)
            words.push_back(word);
        std::string answer = "done";
        try {
            hand.act(words);
        } catch (const std::exception& error) {
            answer = error.what();
        }
        std::ignore = write(caller.get(), answer.data(), answer.size());
    }
}

void act(const std::string& path, const std::string& words) {
    const Socket asking(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const auto address = addressOf(path);
    if (connect(asking.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
        throw std::runtime_error("no hand at " + path);
    send(asking, words);
    shutdown(asking.get(), SHUT_WR);
    const auto answer = receiveAll(asking);
    if (answer != "done") throw std::runtime_error(answer.empty() ? "the hand is gone" : answer);
}

} // namespace

int main(int argc, char** argv) {
    std::signal(SIGPIPE, SIG_IGN); // a caller that has gone away is told nothing
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    try {
        if (arguments.size() == 4 && arguments[0] == "hold") {
            hold(arguments[1], static_cast<std::uint32_t>(std::stoul(arguments[2])),
                 static_cast<std::uint32_t>(std::stoul(arguments[3])));
        } else if (arguments.size() > 2 && arguments[0] == "do") {
            std::string words;
            for (std::size_t i = 2; i < arguments.size(); ++i)
                words += arguments[i] + ' ';
            act(arguments[1], words);
        } else {
            throw std::runtime_error("usage: wayland-hand hold SOCKET WIDTH HEIGHT | do SOCKET WORDS...");
        }
    } catch (const std::exception& error) {
        std::fprintf(stderr, "wayland-hand: %s\n", error.what());
        return 1;
    }
    return 0;
}
