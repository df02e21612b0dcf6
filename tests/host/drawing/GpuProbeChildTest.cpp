#include "host/drawing/QtGpuProbe.h"
#include "host/drawing/QtImageWriter.h"
#include "host/opengl/DriverFingerprint.h"
#include "render/gpu/GpuProbe.h"
#include "support/PrivateSession.h"

#include "host/HostFiles.h"
#include "host/files/TemporaryFolder.h"

#include <QImage>

#include <gmock/gmock.h>
#include <map>

namespace rewindle::test {
namespace {

namespace fs = std::filesystem;

/// This executable is its own probe child: see main.
std::optional<GpuProbeAnswer> probeHere() {
    const auto line = QtGpuProbeHost(fs::read_symlink("/proc/self/exe"), std::chrono::seconds(20)).runProbeChild();
    return line ? answerFromProbeLine(*line) : std::nullopt;
}

TEST(GpuProbeChild, FindsSoftwareOnAnXServerWithoutAGpu) {
    const support::PrivateSession session({.sound = false, .display = true});
    qputenv("QT_QPA_PLATFORM", "xcb");
    const auto answer = probeHere();
    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->kind, GpuKind::software);
    EXPECT_THAT(answer->driver, testing::HasSubstr("llvmpipe"));
}

TEST(GpuProbeChild, FindsNothingWhereQtHasNoOpenGL) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    EXPECT_EQ(probeHere(), GpuProbeAnswer{});
    qputenv("QT_QPA_PLATFORM", "xcb");
    qputenv("DISPLAY", ":981");
    EXPECT_EQ(probeHere(), GpuProbeAnswer{}); // not an abort, and no core dump
}

TEST(GpuProbeChild, GivesNoAnswerWhenItFails) {
    const TemporaryFolder folder;
    const auto run = [](const fs::path& program, std::chrono::milliseconds longestRun) {
        return QtGpuProbeHost(program, longestRun).runProbeChild();
    };
    using namespace std::chrono_literals;
    EXPECT_EQ(run(script(folder.path / "child", "echo \"$1\""), 20s), "--gpu-probe\n");
    EXPECT_EQ(run(script(folder.path / "child", "echo hardware gl X; kill -SEGV $$"), 20s), std::nullopt);
    EXPECT_EQ(run(script(folder.path / "child", "echo hardware gl X; exit 1"), 20s), std::nullopt);
    EXPECT_EQ(run(script(folder.path / "child", "echo hardware gl X; exec sleep 600"), 100ms), std::nullopt);
    EXPECT_EQ(run(folder.path / "missing", 20s), std::nullopt);
}

TEST(DriverFingerprint, ChangesWithDriversGpusAndTheEnvironmentAlone) {
    const TemporaryFolder root;
    const auto put = [&](const std::string& file, const std::string& text) {
        fs::create_directories((root.path / file).parent_path());
        std::ofstream(root.path / file) << text;
        fs::last_write_time(root.path / file, fs::file_time_type{});
    };
    std::map<std::string, std::string> environment;
    const auto fingerprint = [&] {
        return driverFingerprint(
            [&](const char* name) { return environment.contains(name) ? environment[name].c_str() : nullptr; },
            root.path);
    };
    const std::string driver = "usr/lib/riscv64-linux-gnu/libGLX_mesa.so.0";
    std::vector<std::string> seen{fingerprint()};
    const auto expectNew = [&](const std::string& what) {
        EXPECT_THAT(seen, testing::Not(testing::Contains(fingerprint()))) << what;
        seen.push_back(fingerprint());
    };
    put(driver, "");
    expectNew("a driver");
    fs::last_write_time(root.path / driver, fs::file_time_type{} + std::chrono::hours(1));
    expectNew("a later driver");
    put("sys/class/drm/renderD128/device/vendor", "0x8086");
    expectNew("a GPU");
    put("sys/class/drm/renderD128/device/vendor", "0x1002");
    expectNew("another GPU");
    environment["DISPLAY"] = ":1";
    expectNew("another display");
    put("usr/lib/riscv64-linux-gnu/libother.so", "");
    environment["HOME"] = "/home/somebody";
    EXPECT_EQ(fingerprint(), seen.back());
}

TEST(QtImageWriter, WritesTheColorsThatArePremultipliedInMemory) {
    const TemporaryFolder folder;
    const auto path = folder.path / "frame.png";
    const auto bytes = [](int red, int alpha) { return std::vector{std::byte(red), {}, {}, std::byte(alpha)}; };
    auto pixels = bytes(255, 255);
    std::ranges::copy(bytes(64, 128), std::back_inserter(pixels));
    QtImageWriter writer;
    ASSERT_TRUE(writer.writePng(path, {1, 2, pixels}));
    const QImage read(QString::fromStdString(path));
    EXPECT_EQ(read.pixel(0, 0), qRgba(255, 0, 0, 255));
    EXPECT_NEAR(qRed(read.pixel(0, 1)), 128, 1);
    EXPECT_EQ(qAlpha(read.pixel(0, 1)), 128);
    EXPECT_FALSE(writer.writePng(folder.path / "missing/frame.png", {1, 2, pixels}));
}

} // namespace
} // namespace rewindle::test

int main(int argc, char** argv) {
    if (argc == 2 && argv[1] == rewindle::kGpuProbeArgument) return rewindle::runGpuProbe();
    testing::InitGoogleMock(&argc, argv);
    return RUN_ALL_TESTS();
}
