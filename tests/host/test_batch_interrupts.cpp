// What a batch does if it is asked to end.
#include "tests/host/batch_test.h"

#include <gmock/gmock.h>

#include <array>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <optional>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using testing::HasSubstr;

// The program, running beside the test. What it prints goes to files.
class Running {
public:
    //   in  a descriptor for its standard input, or -1
    Running(std::vector<std::string> words, const std::string& out, const std::string& err,
            const std::string& program = std::filesystem::absolute(TARVIX_PROGRAM).string(),
            int in = -1) {
        words.insert(words.begin(), program);
        std::vector<char*> pointers;
        pointers.reserve(words.size() + 1);
        for (std::string& word : words) {
            pointers.push_back(word.data());
        }
        pointers.push_back(nullptr);
        m_process = fork();
        if (m_process == 0) {
            static_cast<void>(std::signal(SIGINT, SIG_DFL)); // a shell's background ignores it
            if (in >= 0) {
                dup2(in, STDIN_FILENO);
            }
            static_cast<void>(std::freopen(out.c_str(), "w", stdout));
            static_cast<void>(std::freopen(err.c_str(), "w", stderr));
            execv(pointers[0], pointers.data());
            _exit(127);
        }
    }
    ~Running() {
        if (runs()) {
            kill(m_process, SIGKILL);
            waitpid(m_process, nullptr, 0);
        }
    }
    Running(const Running&) = delete;
    Running& operator=(const Running&) = delete;

    [[nodiscard]] bool runs() {
        int status = 0;
        if (!m_status && waitpid(m_process, &status, WNOHANG) == m_process) {
            m_status = status;
        }
        return !m_status;
    }
    // Waits until it holds. False if the program ends first.
    [[nodiscard]] bool runsUntil(const std::function<bool()>& holds) {
        while (!holds()) {
            if (!runs()) {
                return false;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        return true;
    }
    void send(int signal) const { kill(m_process, signal); }
    // What it ended with; -1 if a signal ended it.
    [[nodiscard]] int status() const {
        return m_status && WIFEXITED(*m_status) ? WEXITSTATUS(*m_status) : -1;
    }
    // Kills the processes that it has started.
    void killChildren() const {
        const std::string threads = "/proc/" + std::to_string(m_process) + "/task";
        for (const auto& thread : std::filesystem::directory_iterator(threads)) {
            std::ifstream numbers(thread.path() / "children");
            for (pid_t child = 0; numbers >> child;) {
                kill(child, SIGKILL);
            }
        }
    }

private:
    pid_t m_process = 0;
    std::optional<int> m_status;
};

class InterruptedBatch : public test::BatchTest {
protected:
    static constexpr int count = 52;

    // The second input is a pipe: its only worker waits until somebody has it open for writing.
    InterruptedBatch() {
        makeInputs(count - 1);
        EXPECT_EQ(mkfifo(pipe.c_str(), S_IRUSR | S_IWUSR), 0);
        std::string list = folder / "in/0000.png\n" + pipe + '\n';
        for (int i = 1; i < count - 1; ++i) {
            char name[40];
            static_cast<void>(std::snprintf(name, sizeof name, "in/%04d.png\n", i));
            list += folder / name;
        }
        test::writeBytes(folder / "list", list);
    }
    [[nodiscard]] std::vector<std::string> listed(const std::vector<std::string>& more) const {
        std::vector<std::string> all = words(more);
        all[2] = "@" + folder / "list";
        return all;
    }
    [[nodiscard]] std::size_t recorded() const {
        const std::string text = test::bytesOf(manifest);
        return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
    }
    [[nodiscard]] bool said(const std::string& what) const {
        return test::bytesOf(folder / "out.txt").find(what) != std::string::npos;
    }
    // Whether the worker has the pipe open; then it waits until closePipe().
    [[nodiscard]] bool workerHasPipe() {
        m_end = open(pipe.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
        return m_end >= 0;
    }
    void closePipe() { close(std::exchange(m_end, -1)); }

    std::string pipe = folder / "pipe.png";

private:
    int m_end = -1;
};

TEST_F(InterruptedBatch, FinishesWhatRunsAndNoMore) {
    for (const int signal : {SIGINT, SIGTERM}) {
        SCOPED_TRACE(signal);
        std::filesystem::remove(manifest);
        Running run(listed({"--jobs", "1"}), folder / "out.txt", folder / "err.txt");
        ASSERT_TRUE(run.runsUntil([&] { return workerHasPipe(); }));
        EXPECT_EQ(recorded(), 1U);
        run.send(signal);
        ASSERT_TRUE(run.runsUntil([&] { return said("finishing what is running"); }));
        closePipe();
        while (run.runs()) { // however often the worker opens it
            if (workerHasPipe()) {
                closePipe();
            }
        }
        EXPECT_EQ(run.status(), 1);
        EXPECT_EQ(recorded(), 2U) << "that of the pipe, and none of those that waited";
        EXPECT_THAT(test::bytesOf(folder / "err.txt"),
                    HasSubstr("50 images are left; the same command line with --resume goes on"));
    }
    std::filesystem::remove(pipe);
    cv::imwrite(pipe, cv::Mat(5, 5, CV_8UC1, cv::Scalar(3)));
    EXPECT_EQ(test::tarvix(listed({"--retry-failed"})).status, 0);
    EXPECT_THAT(test::tarvix({"batch-summary", manifest}).out, HasSubstr("52 of 52 images done"));
}

TEST_F(InterruptedBatch, StopsAtOnceTheSecondTime) {
    Running run(listed({"--jobs", "1"}), folder / "out.txt", folder / "err.txt");
    ASSERT_TRUE(run.runsUntil([&] { return workerHasPipe(); }));
    run.send(SIGINT);
    ASSERT_TRUE(run.runsUntil([&] { return said("finishing what is running"); }));
    run.send(SIGINT);
    EXPECT_FALSE(run.runsUntil([] { return false; })) << "the pipe is still open";
    closePipe();
    EXPECT_EQ(run.status(), 1);
    EXPECT_EQ(recorded(), 1U);
    EXPECT_EQ(test::namesIn(folder / "out").size(), 1U);
    EXPECT_THAT(test::bytesOf(folder / "err.txt"), HasSubstr("51 images are left"));
}

// An image is not to blame for a worker that cannot be started.
TEST_F(InterruptedBatch, EndsIfNoWorkerCanBeStarted) {
    const std::string copy = test::copyProgram(TARVIX_PROGRAM, folder.path());
    Running run(listed({"--jobs", "1"}), folder / "out.txt", folder / "err.txt", copy);
    ASSERT_TRUE(run.runsUntil([&] { return workerHasPipe(); }));
    std::filesystem::remove(copy);
    run.killChildren();
    EXPECT_FALSE(run.runsUntil([] { return false; }));
    closePipe();
    EXPECT_EQ(run.status(), 1);
    EXPECT_THAT(test::bytesOf(folder / "err.txt"),
                HasSubstr("no worker process can be started: the program"));
    ASSERT_EQ(lines(manifest).size(), 2U) << "the images that had a worker";
    EXPECT_EQ(lines(manifest)[1].at("message"), "the worker process was ended by signal 9");
    std::filesystem::remove(pipe);
    cv::imwrite(pipe, cv::Mat(5, 5, CV_8UC1, cv::Scalar(3)));
    EXPECT_EQ(test::tarvix(listed({"--retry-failed"})).status, 0);
    EXPECT_EQ(lines(manifest).size(), 53U);
}

TEST(BatchOfTypedNames, IsInterruptedWhileTheyAreTyped) {
    const test::TempFolder folder;
    std::array<int, 2> ends{};
    ASSERT_EQ(pipe2(ends.data(), O_CLOEXEC), 0);
    Running run({"batch", "lines", "-"}, folder / "out.txt", folder / "err.txt",
                std::filesystem::absolute(TARVIX_PROGRAM).string(), ends[0]);
    ASSERT_EQ(write(ends[1], "a.jpg\n", 6), 6);
    const auto isRead = [&] {
        int left = 0;
        return ioctl(ends[0], FIONREAD, &left) == 0 && left == 0;
    };
    EXPECT_TRUE(run.runsUntil(isRead)); // and it waits for the next name
    run.send(SIGINT);
    EXPECT_FALSE(run.runsUntil([] { return false; }));
    EXPECT_EQ(run.status(), -1);
    close(ends[0]);
    close(ends[1]);
}

} // namespace
