// Whatever fails inside a call - an allocation, a bitmap, a file that opens or takes bytes - the
// export gives a documented result, leaks nothing and leaves calibrations whole. The environment
// variable TARVIX_FAULTS sets how many faults of each kind every export gets at most; when a call
// has more places where it could fail, they are spread over it. Calls with a large image do not
// depend on it.
#include "tests/support/exports.h"
#include "tests/support/fault_injection.h"
#include "tests/support/file_size_limit.h"
#include "tests/support/files.h"
#include "tests/support/observed_bitmaps.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdlib>
#include <iostream>

#include <omp.h>

namespace {

using test::Fault;
using test::FaultInjection;

const std::string earlier = "an earlier calibration";

const test::Workplace& place() {
    static const test::Workplace one;
    return one;
}

class Faults : public testing::TestWithParam<const test::Export*> {
protected:
    const test::Export& e = *GetParam();
    test::MessageCounter host;
    test::Arguments arguments = place().usualFor(e, std::string("faults-") + e.name);
    test::Outcome usual;
    std::vector<std::string> usualOutputs;
    const bool writesCalibration =
        !arguments.outputs.empty() && arguments.outputs[0].ends_with("xml");

    Faults() {
        // One thread does everything, so that everything can fail.
        cv::setNumThreads(1);
        omp_set_num_threads(1);
        for (int i = 0; i < 3; ++i) { // what is made once is made
            usual = test::run(e, arguments);
        }
        EXPECT_NE(usual.value, 0);
        for (const std::string& path : arguments.outputs) {
            usualOutputs.push_back(test::bytesOf(path));
        }
    }

    // Makes the call with a fault in it and judges what came of it.
    void tryWith(const std::string& fault, const std::function<int(const test::Call&)>& around) {
        SCOPED_TRACE(fault);
        for (const std::string& path : arguments.outputs) {
            test::writeBytes(path, earlier);
        }
        const long dibs = test::liveBitmaps();
        test::Outcome outcome;
        ASSERT_NO_THROW(outcome = test::run(e, arguments, e.passes, around));
        EXPECT_EQ(test::liveBitmaps(), dibs);
        EXPECT_LE(outcome.messages, (e.passes & test::passOpenCv) != 0 ? 0 : 1);
        if (outcome.value != 0 &&
            (outcome.value != usual.value || (isCompared && outcome.digest != usual.digest))) {
            ADD_FAILURE() << "a result that is neither the usual one nor a failure";
        }
        if (writesCalibration) {
            for (std::size_t i = 0; i < arguments.outputs.size(); ++i) {
                const std::string now = test::bytesOf(arguments.outputs[i]);
                EXPECT_TRUE(now == earlier || now == usualOutputs[i]) << arguments.outputs[i];
                // The pair of one camera is replaced together, and only by a call that succeeds.
                if (std::string(e.name) == "tx_Calib") {
                    EXPECT_EQ(now != earlier, outcome.value != 0) << arguments.outputs[i];
                }
            }
        }
    }

    long placesOf(Fault kind) {
        test::run(e, arguments, e.passes, [](const test::Call& call) {
            const FaultInjection counting;
            return call();
        });
        return FaultInjection::count(kind);
    }

    void tryPlace(Fault kind, const char* name, long n) {
        const auto around = [&](const test::Call& call) {
            const FaultInjection failing(kind, n);
            return call();
        };
        // A leak is what leaks again; what is made once stays and is none.
        long leaked = 0;
        for (int again = 0; again < 3; ++again) {
            const long before = FaultInjection::liveBlocks();
            tryWith(std::string(name) + " " + std::to_string(n), around);
            leaked = FaultInjection::liveBlocks() - before;
            if (leaked <= 0 || HasFailure()) {
                break;
            }
        }
        if (!FaultInjection::hasFailed()) {
            ++spared;
            return;
        }
        const std::string& library = failed.emplace_back(FaultInjection::failedLibrary());
        if (leaked > 0) {
            // OpenCV leaks where an allocation of its own fails between two others.
            const bool isOurs = isModules(library) || isBitmaps(library);
            EXPECT_FALSE(isOurs) << name << " " << n << FaultInjection::failedTrace();
            ++leakedElsewhere;
        }
    }

    // Every place of the kind in turn, or some of them.
    void sweep(Fault kind, const char* name) {
        const long places = placesOf(kind);
        const char* const wanted = std::getenv("TARVIX_FAULTS");
        const long most = wanted == nullptr ? 30 : std::strtol(wanted, nullptr, 10);
        const long tries = std::min(places, most);
        for (long i = 0; i < tries; ++i) {
            tryPlace(kind, name, 1 + i * places / tries);
        }
        report(name, places);
    }

    void report(const char* name, long places) const {
        std::cout << e.name << ", " << name << ": " << places << " places, " << failed.size()
                  << " failed in turn, " << leakedElsewhere << " of them leaked in OpenCV, "
                  << spared << " spared\n";
    }

    void sweepBitmaps() {
        for (long n = 1; n <= 3; ++n) {
            tryWith("create " + std::to_string(n), [&](const test::Call& call) {
                test::failBitmapCreate(n);
                return call();
            });
            test::failBitmapCreate(0);
            tryWith("construction " + std::to_string(n), [&](const test::Call& call) {
                test::failBitmapConstruction(n);
                return call();
            });
            test::failBitmapConstruction(0);
        }
    }

    static bool isModules(const std::string& library) { return library.starts_with("libTarvix"); }
    static bool isBitmaps(const std::string& library) { return library.starts_with("libMorvel"); }

    bool isCompared = false;         // a result is the usual one, byte for byte, or none
    std::vector<std::string> failed; // the library that asked, for each place that failed
    int spared = 0, leakedElsewhere = 0;
};

// An image so large that its result is made in the bitmap's memory.
class LargeFaults : public Faults {
protected:
    LargeFaults() {
        arguments.image = test::dibOf(test::noise(2003, 2101, CV_8UC1));
        arguments.from = {20, 30, 2080, 10, 2050, 1960, 50, 1980};
        arguments.to = {0, 0, 2101, 0, 2101, 2003, 0, 2003};
        usual = test::run(e, arguments);
        EXPECT_NE(usual.value, 0);
        isCompared = true;
    }
};

TEST_P(Faults, Allocations) {
    sweep(Fault::allocation, "allocation");
}

TEST_P(Faults, OpenedFiles) {
    sweep(Fault::open, "open");
}

TEST_P(Faults, WrittenFiles) {
    sweep(Fault::write, "write");
}

TEST_P(Faults, Bitmaps) {
    TARVIX_NEEDS_OBSERVED_BITMAPS();
    sweepBitmaps();
}

TEST_P(LargeFaults, Allocations) {
    TARVIX_NEEDS_OBSERVED_BITMAPS(); // it is not known how another library takes its memory
    // Every place up to the memory of the bitmap and a few more. Thousands of OpenCV's follow, one
    // for each block of pixels.
    const long places = placesOf(Fault::allocation);
    constexpr long farthest = 1000; // where none is the bitmap's
    long more = 20;
    for (long n = 1; n <= std::min(places, farthest) && more > 0; ++n) {
        tryPlace(Fault::allocation, "allocation", n);
        more -= std::any_of(failed.begin(), failed.end(), isBitmaps) ? 1 : 0;
    }
    report("allocation", places);
    const auto bitmap = std::find_if(failed.begin(), failed.end(), isBitmaps);
    ASSERT_NE(bitmap, failed.end()) << "the memory of a bitmap did not fail";
    // After a copy, the module needs no more memory. A matrix over the bitmap needs a header.
    EXPECT_NE(std::find_if(bitmap, failed.end(), isModules), failed.end())
        << "no matrix over a bitmap failed: the result was not made in it";
}

TEST_P(LargeFaults, Bitmaps) {
    TARVIX_NEEDS_OBSERVED_BITMAPS();
    sweepBitmaps();
}

TEST_P(Faults, AFullDisk) {
    for (const std::size_t bytes : {0U, 1U, 100U, 300U, 500U, 5000U, 50000U}) {
        tryWith("full after " + std::to_string(bytes), [&](const test::Call& call) {
            const test::FileSizeLimit full(bytes);
            return call();
        });
    }
}

std::vector<const test::Export*> pointers() {
    std::vector<const test::Export*> all;
    for (const test::Export& e : test::allExports()) {
        all.push_back(&e);
    }
    return all;
}

INSTANTIATE_TEST_SUITE_P(Every, Faults, testing::ValuesIn(pointers()),
                         [](const auto& each) { return std::string(each.param->name); });
INSTANTIATE_TEST_SUITE_P(OfTheirKind, LargeFaults,
                         testing::Values(&test::exportNamed("tx_Projective"),
                                         &test::exportNamed("tx_UseCalib"),
                                         &test::exportNamed("tx_UseStereoCalib")),
                         [](const auto& each) { return std::string(each.param->name); });

} // namespace
