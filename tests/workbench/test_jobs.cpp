// Long runs of the workbench: how they end, and what happens to those that nobody asks for.
#include "workbench/jobs.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

using namespace workbench;

namespace {

using std::chrono::steady_clock;

class JobsTest : public testing::Test {
protected:
    ~JobsTest() override { engine.close(); }

    std::string begin(const std::string& what) {
        return jobs.begin(
            {what},
            [](const RunEnd& end) {
                return Json{{"status", end.status},
                            {"messages", end.messages},
                            {"data", end.data.at("made")}};
            },
            [](const Json& shown) { return shown; });
    }

    // Waits until the state is that.
    Json waitFor(const std::string& job, const std::string& state) {
        Json now = jobs.state(job).value();
        while (now["state"] != state) {
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
            now = jobs.state(job).value();
        }
        return now;
    }

    Engine engine{TARVIX_ODD_WORKER};
    std::atomic<int> minutes = 0; // of the clock
    Jobs jobs{engine, [this] { return steady_clock::time_point(std::chrono::minutes(minutes)); }};
};

TEST_F(JobsTest, AnAnswerIsMadeOfTheEnd) {
    const Json state = waitFor(begin("work"), "done");
    EXPECT_EQ(state["answer"]["data"], 1);
    EXPECT_EQ(state["done"], 1);
    EXPECT_EQ(state["total"], 2);
    EXPECT_EQ(state["what"], "a");
}

TEST_F(JobsTest, AnAnswerThatCannotBeMadeIsSaid) {
    for (const char* what : {"odd", "hang"}) { // neither has the data that the answer is made of
        const std::string job = begin(what);
        if (what == std::string("hang")) {
            waitFor(job, "running");
            EXPECT_TRUE(jobs.stop(job));
        }
        const Json answer = waitFor(job, "done")["answer"];
        EXPECT_EQ(answer["status"], workerLost) << what;
        EXPECT_GE(answer["messages"].size(), 2U) << what;
        EXPECT_TRUE(answer["results"].empty()) << what;
    }
    waitFor(begin("work"), "done"); // and the next one works
}

TEST_F(JobsTest, TheOnesThatNobodyAsksForAreStopped) {
    const std::string job = begin("hang");
    waitFor(job, "running");
    minutes += 10;
    EXPECT_EQ(jobs.stopForgotten(), 0U); // not later than allowed
    EXPECT_EQ(jobs.state(job).value()["state"], "running");
    minutes += 10;
    EXPECT_EQ(jobs.state(job).value()["state"], "running"); // somebody asks
    minutes += 10;
    EXPECT_EQ(jobs.stopForgotten(), 0U);
    minutes += 11;
    EXPECT_EQ(jobs.stopForgotten(), 1U);
    EXPECT_EQ(waitFor(job, "done")["answer"]["status"], workerLost);
}

TEST_F(JobsTest, OneThatWaitsIsStoppedAtOnce) {
    const std::string first = begin("hang");
    waitFor(first, "running");
    const std::string second = begin("hang");
    EXPECT_TRUE(jobs.stop(second));
    const Json state = jobs.state(second).value(); // while the first one still runs
    EXPECT_EQ(state["state"], "done");
    EXPECT_EQ(state["answer"]["messages"], Json({"it was stopped"}));
    EXPECT_EQ(jobs.state(first).value()["state"], "running");
    EXPECT_TRUE(jobs.stop(first));
    waitFor(first, "done");
    waitFor(begin("work"), "done");
    EXPECT_EQ(jobs.state(second).value(), state) << "the first answer stays";
}

TEST_F(JobsTest, NoneIsBegunAfterTheEnd) {
    const std::string job = begin("hang");
    engine.close();
    EXPECT_EQ(jobs.state(job).value()["state"], "done");
    EXPECT_THROW(begin("work"), Busy);
    EXPECT_THROW(engine.run({"work"}, Engine::Lane::Work), Busy);
}

TEST_F(JobsTest, ARunEndsIfWhoAskedHasGone) {
    std::stop_source gone;
    std::thread asks([&] {
        EXPECT_EQ(engine.run({"hang"}, Engine::Lane::Work, false, gone.get_token()).status,
                  workerLost);
    });
    gone.request_stop();
    asks.join();
    EXPECT_EQ(engine.run({"work"}, Engine::Lane::Work).status, 0);
}

} // namespace
