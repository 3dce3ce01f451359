// Every export as a call of one shape, for tests that do the same with all of them.
#pragma once

#include "tests/support/environment.h"
#include "tests/support/files.h"
#include "tests/support/images.h"
#include "tests/support/x_server.h"

#include <afxwin.h>

#include <afxcoll.h> // after afxwin.h

#include <array>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace test {

// File names as exports take them.
struct Lists {
    CStringArray files, outputs;
};

// What exports take; each uses some of it. Images, arrays and numbers of one type are in the order
// of the declaration.
struct Arguments {
    Dib image, second;
    std::array<double, 8> from{}, to{};
    std::array<double, 4> reals{};
    std::array<int, 4> ints{};
    std::string folder; // of a calibration
    std::vector<std::string> files;
    std::vector<std::string> outputs; // what the call may write
    std::unique_ptr<Lists> lists;     // files and outputs again; run() makes them
};

// The exceptions that an export may throw, by its declaration.
enum Passes : unsigned { passNothing = 0, passOpenCv = 1, passMemory = 2, passInvalidArgument = 4 };

// What of the arguments an export takes: the fuzzers of each kind choose their exports by it.
enum Takes : unsigned {
    takesNothing = 0,
    takesBitmap = 1,
    takesCorners = 2,
    takesFiles = 4 // lists of file names, a file's name or a folder's
};

// What a host gets from a call.
struct Outcome {
    Passes passedOut = passNothing;
    int value = 0;            // count or flag; 1 for a bitmap, 0 for NULL
    int messages = 0;         // shown
    std::uint64_t digest = 0; // of bitmaps, arrays, texts, outputs and messages

    bool operator==(const Outcome&) const = default;
};

class Digest {
public:
    void add(const void* data, std::size_t bytes);
    void add(std::string_view text) { add(text.data(), text.size()); }
    void addFile(const std::string& path); // its bytes, or that there is none
    int take(CDib* result);                // deletes it; 1, or 0 for null
    [[nodiscard]] std::uint64_t value() const { return m_value; }

private:
    std::uint64_t m_value = 14695981039346656037U;
};

struct Export {
    const char* name = nullptr;
    unsigned passes = passNothing; // Passes
    unsigned takes = takesBitmap;  // Takes
    bool isMute = false;           // shows no message; run() throws if it does
    bool isQuick = true;           // milliseconds, with the usual arguments
    std::array<double, 4> reals{}; // usual values
    std::array<int, 4> ints{};     // usual values
    int (*call)(Arguments&, Digest&) = nullptr;
};

std::span<const Export> allExports();
const Export& exportNamed(std::string_view name);
std::vector<std::string> exportsThatTake(Takes what); // names, in the order of the table

// Makes the call and deletes what it returns. The random colours of OpenCV's drawings are the same
// each time. `around`, if any, makes the call itself; nothing of the caller's own allocates in it.
// Throws std::logic_error if the export throws an exception that is not in `passes`.
using Call = std::function<int()>;
Outcome run(const Export& e, Arguments& arguments, unsigned passes,
            const std::function<int(const Call&)>& around = {});
inline Outcome run(const Export& e, Arguments& arguments) {
    return run(e, arguments, e.passes);
}

// Takes over the messages of all threads. Each thread's calls see their own.
class MessageCounter : public CWinApp {
public:
    int DoMessageBox(LPCSTR text, UINT type, UINT helpId) override;
};

// A folder with small images, files and a calibration, on which every export succeeds. OpenCV's
// camera back-ends are switched off for the process, so tx_TrackFace finds no camera and ends at
// once.
class Workplace {
public:
    Workplace();

    // New arguments for each caller: outputs go into a folder of the given name.
    [[nodiscard]] Arguments usualFor(const Export& e, const std::string& outputs = "out") const;
    [[nodiscard]] std::string operator/(const std::string& name) const { return m_folder / name; }
    [[nodiscard]] std::string calibration() const { return m_folder / "calibration"; }
    [[nodiscard]] const std::vector<std::string>& windows() const { return m_windows; }
    [[nodiscard]] const std::vector<std::string>& boards() const { return m_boards; }

    static constexpr int boardWidth = 4, boardHeight = 3; // inner corners of all boards

private:
    std::vector<std::unique_ptr<ScopedEnvironment>> m_noCameras;
    TempFolder m_folder;
    std::vector<std::string> m_windows; // of one landscape, overlapping
    std::vector<std::string> m_boards;  // left and right in turn
    cv::Mat m_image, m_face, m_board;
};

} // namespace test
