#pragma once

#include <string>
#include <string_view>

namespace rewindle {

enum class LogLevel { debug, info, warning, error };

/// Where messages go. Any thread; never from the audio thread.
class LogSink {
public:
    virtual ~LogSink() = default;
    /// False when a message of this level would be thrown away, so that a caller can save itself the text.
    [[nodiscard]] virtual bool isEnabled(LogLevel level) const = 0;
    /// Writes one line.
    virtual void write(LogLevel level, std::string_view category, std::string_view message) = 0;
};

/// One component's way into the log: its messages carry the component's category.
class Log {
public:
    Log(LogSink& sink, std::string category) : sink_(&sink), category_(std::move(category)) {}

    void debug(std::string_view message) const { write(LogLevel::debug, message); }
    void info(std::string_view message) const { write(LogLevel::info, message); }
    void warning(std::string_view message) const { write(LogLevel::warning, message); }
    void error(std::string_view message) const { write(LogLevel::error, message); }
    [[nodiscard]] bool isEnabled(LogLevel level) const { return sink_->isEnabled(level); }

private:
    void write(LogLevel level, std::string_view message) const {
        if (sink_->isEnabled(level)) sink_->write(level, category_, message);
    }

    LogSink* sink_;
    std::string category_;
};

/// Writes to standard error in journald's priority form, "<6>[com.rewindle:Category] message"; one write a line.
/// Threads: any.
class StderrLogSink final : public LogSink {
public:
    /// `environmentLevel` is the value of REWINDLE_LOG, or null: "debug" lets debug messages through.
    explicit StderrLogSink(const char* environmentLevel);
    [[nodiscard]] bool isEnabled(LogLevel level) const override { return level >= lowest_; }
    void write(LogLevel level, std::string_view category, std::string_view message) override;

private:
    LogLevel lowest_;
};

} // namespace rewindle
