#include "host/windows/DisplayCheck.h"

#include "host/windows/DesktopTest.h"

#include <fstream>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace rewindle::test {
namespace {

/// An X server besides the session's own.
class XServer {
public:
    XServer(const Path& folder, const std::string& options)
        : number_(folder / "number"), process_("exec Xvfb -displayfd 3 " + options + " 3>" + number_.string() +
                                               " 2>" + (folder / "xserver.log").string()) {
        EXPECT_TRUE(eventually([&] { return std::filesystem::exists(number_) && !display().empty(); }));
    }
    ~XServer() {
        process_.end();
        std::filesystem::remove(number_);
    }
    [[nodiscard]] std::string display() const {
        std::string number;
        std::ifstream(number_) >> number;
        return number;
    }

private:
    Path number_;
    Process process_;
};

/// A Unix socket that listens, or is only left over.
class WaylandSocket {
public:
    explicit WaylandSocket(const Path& path) : fd_(socket(AF_UNIX, SOCK_STREAM, 0)) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        path.native().copy(address.sun_path, sizeof address.sun_path - 1);
        EXPECT_EQ(bind(fd_, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
        EXPECT_EQ(listen(fd_, 1), 0);
    }
    ~WaylandSocket() { stop(); }
    void stop() { close(std::exchange(fd_, -1)); }

private:
    int fd_;
};

class DisplayCheckTest : public DesktopTest {
protected:
    DisplayEnvironment environment{.runtimeFolder = session().folder(), .pluginFolders = {session().folder()}};
    std::string problem() { return displayProblem(environment).value_or(""); }
    std::string problemOnX11(const std::string& display) {
        environment.x11Display = display;
        return problem();
    }
};

TEST_F(DisplayCheckTest, TellsWhetherAnXServerLetsUsIn) {
    EXPECT_EQ(problem(), "DISPLAY is not set");
    EXPECT_EQ(problemOnX11(DisplayEnvironment::ofProcess().x11Display.value()), "");
    EXPECT_EQ(problemOnX11(""), "DISPLAY is not set");
    for (const char* dead : {":9876", "nonsense", "localhost:10.0", "nowhere.invalid:10.0"}) {
        EXPECT_EQ(problemOnX11(dead), "the X server \"" + std::string(dead) + "\" cannot be opened");
    }
    const XServer forwarded(session().folder(), "-listen tcp");
    EXPECT_EQ(problemOnX11("127.0.0.1:" + forwarded.display() + ".0"), "");
}

TEST_F(DisplayCheckTest, TellsWhenAnXServerRefusesUs) {
    const auto secret = session().folder() / "secret";
    std::ofstream(secret, std::ios::binary) // family, address, display, and the cookie by its name
        << std::string("\xff\xff\0\0\0\0\0\x12MIT-MAGIC-COOKIE-1\0\x10", 28) << "0123456789abcdef";
    const XServer guarded(session().folder(), "-auth " + secret.string());
    EXPECT_NE(problemOnX11(":" + guarded.display()), "");
}

TEST_F(DisplayCheckTest, TellsWhetherAWaylandCompositorListens) {
    const auto unreachable = "the Wayland compositor \"wayland-7\" cannot be reached";
    environment.waylandDisplay = "wayland-7";
    EXPECT_EQ(problem(), unreachable);
    WaylandSocket socket(session().folder() / "wayland-7");
    EXPECT_EQ(problem(), "Qt's support for Wayland is not installed");
    std::filesystem::create_directory(session().folder() / "platforms");
    const std::ofstream plugin(session().folder() / "platforms/libqwayland-generic.so");
    EXPECT_EQ(problem(), "");
    environment.waylandDisplay = session().folder() / "wayland-7";
    EXPECT_EQ(problem(), "");
    environment.waylandDisplay = "wayland-7";
    socket.stop(); // the file stays
    EXPECT_EQ(problem(), unreachable);
    EXPECT_EQ(problemOnX11(":9876"), std::string(unreachable) + ", the X server \":9876\" cannot be opened");
    EXPECT_EQ(problemOnX11(DisplayEnvironment::ofProcess().x11Display.value()), "");
}

TEST_F(DisplayCheckTest, GoesByThePlatformThatIsAskedFor) {
    environment.x11Display = ":9876";
    for (const char* platform : {"offscreen", "minimal", "xcb:option;offscreen", "vnc:size=10x10"}) {
        environment.qtPlatform = platform;
        EXPECT_EQ(problem(), "") << platform;
    }
    environment.qtPlatform = "xcb";
    EXPECT_NE(problem(), "");
}

} // namespace
} // namespace rewindle::test
