// Workers: what they answer, and what is left of them when something goes wrong.
#include "platform/system/child_process.h"
#include "workers/worker.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#if __has_include(<sys/wait.h>)
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#endif

namespace {

using tarvix::Json;
using tarvix::Limits;
using tarvix::Outcome;
using tarvix::Reply;
using tarvix::Worker;
using testing::HasSubstr;

const std::string probe = std::filesystem::absolute(TARVIX_WORKER_PROBE).string();

constexpr std::uint64_t mebi = std::uint64_t{1} << 20U;

// Which request of its process this was, from 1.
int served(const Reply& reply) {
    EXPECT_EQ(reply.outcome, Outcome::Answered) << reply.why;
    return reply.outcome == Outcome::Answered ? reply.answer.at("served").get<int>() : 0;
}

TEST(Worker, OneProcessAnswersAnyNumberOfRequests) {
    Worker worker({probe});
    for (int i = 1; i <= 100; ++i) {
        const Reply reply = worker.ask({{"number", i}});
        ASSERT_EQ(served(reply), i);
        EXPECT_EQ(reply.answer.at("got").at("number"), i);
        EXPECT_FALSE(reply.answer.contains("id")) << "that is the protocol's own";
        EXPECT_EQ(reply.why, "");
        EXPECT_GT(reply.seconds, 0);
        EXPECT_GT(reply.peakMemory, mebi / 4);
    }
}

TEST(Worker, LongTextsGoThroughBothWays) {
    Worker worker({probe});
    const std::string text(3 * mebi, 'x');
    EXPECT_EQ(worker.ask({{"text", text}}).answer.at("got").at("text"), text);
    EXPECT_EQ(worker.ask({{"text", "two\nlines"}}).answer.at("got").at("text"), "two\nlines");
}

TEST(Worker, ADeathCostsOneRequest) {
    Worker worker({probe});
    EXPECT_EQ(served(worker.ask({{"do", ""}})), 1);
    const Reply reply = worker.ask({{"do", "die"}});
    EXPECT_EQ(reply.outcome, Outcome::Died);
    EXPECT_EQ(reply.why, "the worker process ended with status 3");
    EXPECT_EQ(served(worker.ask({{"do", ""}})), 1) << "a new process";
}

TEST(Worker, WhatIsNotAnAnswerIsADeath) {
    Worker worker({probe});
    for (const char* const text : {"garbage\n", "\n", "null\n", "[1]\n", "{}\n",
                                   R"({"id":2,"data":1})"
                                   "\n",
                                   "\x01\xff\xfe\n", "{\"id\":1,\"data\":\n"}) {
        SCOPED_TRACE(text);
        const Reply reply = worker.ask({{"do", "say"}, {"hex", tarvix::toHex(text)}});
        EXPECT_EQ(reply.outcome, Outcome::Died);
    }
    EXPECT_EQ(worker.ask({{"do", "other id"}}).why,
              "the worker process wrote what is not an answer");
    EXPECT_EQ(worker.ask({{"do", "half"}}).outcome, Outcome::Died) << "half a line is no answer";
    EXPECT_EQ(served(worker.ask({{"do", ""}})), 1);
}

TEST(Worker, AnAnswerTooManyIsNotTheNextRequests) {
    Worker worker({probe});
    const Reply first =
        worker.ask({{"do", "say"}, {"hex", tarvix::toHex("{\"id\":1}\n{\"id\":1,\"a\":2}\n")}});
    EXPECT_EQ(first.outcome, Outcome::Answered);
    EXPECT_EQ(worker.ask({{"do", ""}}).outcome, Outcome::Died);
    EXPECT_EQ(served(worker.ask({{"do", ""}})), 1);
}

TEST(Worker, WhatElseIsPrintedOrReadDoesNotDisturb) {
    Worker worker({probe});
    EXPECT_EQ(served(worker.ask({{"do", "print"}})), 1);
    EXPECT_EQ(worker.ask({{"do", "read"}}).answer.at("read"), -1) << "the end of the input";
    EXPECT_EQ(served(worker.ask({{"do", "print"}})), 3);
}

TEST(Worker, ProgressComesBeforeTheAnswer) {
    Worker worker({probe});
    std::vector<int> steps;
    const Reply reply = worker.ask({{"do", "steps"}}, [&](const Json& progress) {
        steps.push_back(progress.at("done").get<int>());
    });
    EXPECT_EQ(served(reply), 1);
    EXPECT_THAT(steps, testing::ElementsAre(1, 2, 3));
}

TEST(Worker, AProgramThatIsNoWorkerIsNotStarted) {
    const auto whyNot = [](const std::vector<std::string>& words) {
        const Reply reply = Worker(words).ask({{"do", ""}});
        EXPECT_EQ(reply.outcome, Outcome::NotStarted);
        return reply.why;
    };
    EXPECT_THAT(whyNot({probe + "-missing"}), HasSubstr("cannot be started"));
    EXPECT_EQ(whyNot({probe, "leaves"}), "the worker process ended with status 4");
    EXPECT_EQ(whyNot({probe, "talks"}), "the worker process wrote what is not an answer");
}

// Asks until there is an answer: a busy machine may be too slow for the limit, too.
Reply answerWithin(Worker& worker) {
    Reply reply;
    for (int i = 0; i < 50 && reply.outcome != Outcome::Answered; ++i) {
        reply = worker.ask({{"do", ""}});
    }
    return reply;
}

TEST(Worker, AHangCostsOneRequest) {
    Worker worker({probe}, {.seconds = 0.3});
    const Reply reply = worker.ask({{"do", "hang"}});
    EXPECT_EQ(reply.outcome, Outcome::TimedOut);
    EXPECT_EQ(reply.why, "it took longer than 0.3 s");
    EXPECT_GE(reply.seconds, 0.3);
    EXPECT_EQ(answerWithin(worker).outcome, Outcome::Answered);
}

TEST(Worker, AnyLimitOfTimeIsKept) {
    Worker worker({probe}, {.seconds = 1e300}); // more than a clock holds
    EXPECT_EQ(served(worker.ask({{"do", ""}})), 1);
}

TEST(Worker, TooMuchMemoryCostsOneRequest) {
    const std::uint64_t usual = Worker({probe}).ask({{"do", ""}}).peakMemory;
    Worker worker({probe}, {.memory = usual + 100 * mebi});
    EXPECT_EQ(served(worker.ask({{"do", ""}})), 1);
    const Reply reply = worker.ask({{"do", "memory"}});
    EXPECT_EQ(reply.outcome, Outcome::TooMuchMemory);
    EXPECT_THAT(reply.why, testing::StartsWith("it took more than "));
    EXPECT_GT(reply.peakMemory, usual + 50 * mebi);
    EXPECT_EQ(served(worker.ask({{"do", ""}})), 1);
}

TEST(Worker, MemoryThatEarlierRequestsKeptCostsNone) {
    const std::uint64_t usual = Worker({probe}).ask({{"do", ""}}).peakMemory;
    Worker worker({probe}, {.memory = usual + 200 * mebi});
    bool replaced = false;
    for (int i = 0; i < 6; ++i) { // 80 MiB each
        const Reply reply = worker.ask({{"do", "keep"}});
        EXPECT_EQ(reply.outcome, Outcome::Answered) << reply.why;
        replaced = replaced || (i > 0 && served(reply) == 1);
    }
    EXPECT_TRUE(replaced);
}

TEST(Worker, AnotherThreadStopsARequest) {
    Worker worker({probe}, {.seconds = 1000, .memory = 1000000 * mebi});
    std::thread other;
    const Reply reply = worker.ask(
        {{"do", "hang"}}, [&](const Json&) { other = std::thread([&] { worker.stop(); }); });
    other.join();
    EXPECT_EQ(reply.outcome, Outcome::Stopped);
    EXPECT_EQ(reply.why, "it was stopped");
    EXPECT_EQ(worker.ask({{"do", ""}}).outcome, Outcome::Stopped) << "until it is forgotten";
    worker.forgetStop();
    EXPECT_EQ(served(worker.ask({{"do", ""}})), 1);
}

#if __has_include(<sys/wait.h>)

// The processes that this one has started.
std::vector<pid_t> children() {
    std::vector<pid_t> all;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/task")) {
        std::ifstream numbers(entry.path() / "children");
        for (pid_t child = 0; numbers >> child;) {
            all.push_back(child);
        }
    }
    return all;
}

TEST(Worker, ASignalCostsOneRequestAtMost) {
    Worker worker({probe});
    const Reply killed = worker.ask({{"do", "hang"}}, [&](const Json&) {
        ASSERT_EQ(children().size(), 1U);
        kill(children()[0], SIGKILL);
    });
    EXPECT_EQ(killed.why, "the worker process was ended by signal 9");
    EXPECT_EQ(served(worker.ask({{"do", ""}})), 1);
}

TEST(Worker, WhoAsksEveryProcessToEndAsksItInVain) {
    Worker worker({probe});
    EXPECT_EQ(served(worker.ask({{"do", ""}})), 1);
    ASSERT_EQ(children().size(), 1U);
    for (const int signal : {SIGTERM, SIGHUP, SIGINT}) {
        kill(children()[0], signal);
    }
    EXPECT_EQ(served(worker.ask({{"do", ""}})), 2) << "the same process";
}

TEST(Worker, NothingElseIsInherited) {
    const std::string path = "/tmp/tarvix-inherited-" + std::to_string(getpid());
    const int open = ::open(path.c_str(), O_RDWR | O_CREAT, S_IRUSR | S_IWUSR); // no O_CLOEXEC
    unlink(path.c_str());
    struct stat ours {};
    ASSERT_EQ(fstat(open, &ours), 0);
    Worker first({probe});
    Worker second({probe});
    first.ask({{"do", ""}});
    second.ask({{"do", ""}});
    ASSERT_EQ(children().size(), 2U);
    int sockets = 0;
    for (const pid_t child : children()) {
        const std::string files = "/proc/" + std::to_string(child) + "/fd";
        for (const auto& file : std::filesystem::directory_iterator(files)) {
            struct stat theirs {};
            ASSERT_EQ(stat(file.path().c_str(), &theirs), 0);
            EXPECT_FALSE(theirs.st_dev == ours.st_dev && theirs.st_ino == ours.st_ino);
            sockets += S_ISSOCK(theirs.st_mode) ? 1 : 0;
        }
    }
    EXPECT_EQ(sockets, 4) << "two for each";
    close(open);
}

TEST(Worker, ItEndsWithTheProgramThatHasIt) {
    // Everything that has the pipe's other end holds it open until it ends.
    int errors[2];
    ASSERT_EQ(pipe2(errors, O_CLOEXEC), 0);
    int out[2];
    ASSERT_EQ(pipe2(out, O_CLOEXEC), 0);
    const pid_t parent = fork();
    if (parent == 0) {
        dup2(out[1], STDOUT_FILENO);
        dup2(errors[1], STDERR_FILENO);
        execl(probe.c_str(), probe.c_str(), "parent", nullptr);
        _exit(127);
    }
    close(errors[1]);
    close(out[1]);
    char text[9] = {};
    ASSERT_EQ(read(out[0], text, sizeof text), ssize_t{9}) << "the worker hangs now";
    EXPECT_EQ(std::string(text, 9), "it hangs\n");
    kill(parent, SIGKILL);
    waitpid(parent, nullptr, 0);
    EXPECT_EQ(read(errors[0], text, sizeof text), 0) << "nobody has it any more";
    close(errors[0]);
    close(out[0]);
}

#endif

} // namespace
