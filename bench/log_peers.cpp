#include "bench/log_peers.h"

#include <array>
#include <cstdio>
#include <ctime>
#include <mutex>
#include <stdexcept>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

#include <spdlog/async.h>
#include <spdlog/sinks/rotating_file_sink.h>
#include <spdlog/spdlog.h>

namespace quorvane::bench {
namespace {

constexpr std::size_t kLimit = 500000;
constexpr std::size_t kOlderGenerations = 4;

class SpdlogLog : public Log {
public:
    SpdlogLog(std::shared_ptr<spdlog::logger> logger,
              std::shared_ptr<spdlog::details::thread_pool> pool)
        : pool_(std::move(pool)), logger_(std::move(logger)) {
        logger_->set_pattern("%Y-%m-%d %H:%M:%S +0000 - %v", spdlog::pattern_time_type::utc);
    }

    void append(int thread, long number) override {
        logger_->info("Worker {} has moved item number {} of its list to the Trash", thread,
                      number);
    }

    void finish() override {
        logger_->flush();
        logger_.reset();
        pool_.reset(); // joins the writer, which has written everything then
    }

private:
    std::shared_ptr<spdlog::details::thread_pool> pool_;
    std::shared_ptr<spdlog::logger> logger_;
};

std::shared_ptr<spdlog::sinks::sink> rotatingFile(const std::string& folder) {
    return std::make_shared<spdlog::sinks::rotating_file_sink_mt>(folder + "/peer.log", kLimit,
                                                                  kOlderGenerations);
}

class WritePerLine : public Log {
public:
    explicit WritePerLine(std::string folder) : folder_(std::move(folder)) { open(); }
    ~WritePerLine() override { ::close(file_); }
    WritePerLine(const WritePerLine&) = delete;
    WritePerLine& operator=(const WritePerLine&) = delete;

    void append(int thread, long number) override {
        std::array<char, 256> line{};
        const std::lock_guard lock(mutex_);
        const auto length = static_cast<std::size_t>(
            std::snprintf(line.data(), line.size(),
                          "%s - Worker %d has moved item number %ld of its list to the Trash\n",
                          date(), thread, number));
        if (::write(file_, line.data(), length) != static_cast<ssize_t>(length))
            throw std::runtime_error("The plain log cannot be written.");
        size_ += length;
        if (size_ >= kLimit) rotate();
    }

    void finish() override {}

private:
    const char* date() {
        const std::time_t now = std::time(nullptr);
        if (now != last_) {
            std::tm parts{};
            gmtime_r(&now, &parts);
            std::strftime(date_.data(), date_.size(), "%Y-%m-%d %H:%M:%S +0000", &parts);
            last_ = now;
        }
        return date_.data();
    }

    std::string path(std::size_t generation) const {
        return folder_ + "/plain." + std::to_string(generation) + ".log";
    }

    void open() {
        file_ = ::open(path(1).c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
        if (file_ < 0) throw std::runtime_error("The plain log cannot be opened.");
        size_ = 0;
    }

    void rotate() {
        ::close(file_);
        for (std::size_t generation = kOlderGenerations; generation >= 1; --generation)
            std::rename(path(generation).c_str(), path(generation + 1).c_str());
        open();
    }

    std::string folder_;
    std::mutex mutex_;
    int file_ = -1;
    std::size_t size_ = 0;
    std::time_t last_ = 0;
    std::array<char, 40> date_{};
};

} // namespace

std::unique_ptr<Log> makeSpdlogAsync(const std::string& folder) {
    auto pool =
        std::make_shared<spdlog::details::thread_pool>(spdlog::details::default_async_q_size, 1);
    auto logger = std::make_shared<spdlog::async_logger>("peer", rotatingFile(folder), pool,
                                                         spdlog::async_overflow_policy::block);
    return std::make_unique<SpdlogLog>(std::move(logger), std::move(pool));
}

std::unique_ptr<Log> makeSpdlogSync(const std::string& folder) {
    return std::make_unique<SpdlogLog>(
        std::make_shared<spdlog::logger>("peer", rotatingFile(folder)), nullptr);
}

std::unique_ptr<Log> makeWritePerLine(const std::string& folder) {
    return std::make_unique<WritePerLine>(folder);
}

} // namespace quorvane::bench
