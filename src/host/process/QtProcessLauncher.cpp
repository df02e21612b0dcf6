#include "host/process/QtProcessLauncher.h"

#include <QFile>
#include <QProcess>
#include <QTimer>

#include <cerrno>
#include <memory>
#include <string_view>
#include <unistd.h>

namespace rewindle {
namespace {

using namespace std::chrono_literals;
using Path = std::filesystem::path;
using Reply = std::function<void(Result<int>)>;

constexpr auto kLongestRun = 2s;

bool isExecutable(const Path& path) {
    std::error_code ignored;
    return std::filesystem::is_regular_file(path, ignored) && ::access(path.c_str(), X_OK) == 0;
}

QString toQString(const Path& path) {
    return QFile::decodeName(path.c_str());
}

/// One process, which deletes itself when it has replied.
class Run final : public QObject {
public:
    Run(QObject* parent, Reply reply) : QObject(parent), reply_(std::move(reply)) {
        connect(&process_, &QProcess::finished, this, [this](int code, QProcess::ExitStatus status) {
            if (status == QProcess::NormalExit) return end(code);
            end(timedOut_ ? Error{ETIMEDOUT, "it took longer than 2 s"} : Error{EINTR, "it was killed"});
        });
        connect(&process_, &QProcess::errorOccurred, this, [this](QProcess::ProcessError error) {
            if (error == QProcess::FailedToStart) end(Error{ENOEXEC, process_.errorString().toStdString()});
        });
        connect(&limit_, &QTimer::timeout, this, [this] {
            timedOut_ = true;
            process_.kill();
        });
        limit_.setSingleShot(true);
    }

    void start(const Path& program, const std::string& argument) {
        process_.setStandardInputFile(QProcess::nullDevice());
        process_.setStandardOutputFile(QProcess::nullDevice());
        process_.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        limit_.start(kLongestRun);
        process_.start(toQString(program), {QString::fromStdString(argument)});
    }

private:
    void end(const Result<int>& outcome) {
        limit_.stop();
        // From the event loop: a start can fail before `run` has returned.
        QMetaObject::invokeMethod(
            this,
            [this, outcome] {
                deleteLater();
                reply_(outcome);
            },
            Qt::QueuedConnection);
    }

    Reply reply_;
    QTimer limit_;
    QProcess process_;
    bool timedOut_ = false;
};

} // namespace

std::optional<Path> executableBehind(const Path& linkTarget) {
    if (isExecutable(linkTarget)) return linkTarget;
    constexpr std::string_view kDeleted = " (deleted)"; // what the kernel appends
    auto name = linkTarget.native();
    if (!name.ends_with(kDeleted)) return std::nullopt;
    name.resize(name.size() - kDeleted.size());
    return isExecutable(name) ? std::optional<Path>(name) : std::nullopt;
}

std::optional<Path> QtProcessLauncher::executable() const {
    std::error_code error;
    const auto target = std::filesystem::read_symlink("/proc/self/exe", error);
    return error ? std::nullopt : executableBehind(target);
}

void QtProcessLauncher::run(const Path& program, const std::string& argument, Reply reply) {
    auto* const run = new Run(&context_, std::move(reply)); // the context is its owner
    run->start(program, argument);
}

} // namespace rewindle
