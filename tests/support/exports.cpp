#include "tests/support/exports.h"

#include "tests/support/files.h"
#include "tests/support/lists.h"
#include "tests/support/stored_rows.h"

#include <opencv2/core.hpp>

#include <cstdlib>
#include <filesystem>
#include <stdexcept>

namespace test {

namespace {

namespace fs = std::filesystem;

thread_local int messagesHere = 0;
thread_local Digest* messageDigest = nullptr;

} // namespace

void Digest::add(const void* data, std::size_t bytes) {
    const auto* next = static_cast<const unsigned char*>(data);
    for (std::size_t i = 0; i < bytes; ++i) {
        m_value = (m_value ^ next[i]) * 1099511628211U;
    }
}

void Digest::addFile(const std::string& path) {
    std::error_code ignored;
    if (fs::is_regular_file(path, ignored)) {
        add("a file");
        add(bytesOf(path));
    }
}

int Digest::take(CDib* result) {
    const Dib owner(result);
    if (result == nullptr) {
        return 0;
    }
    const BITMAPINFOHEADER& header = result->m_bmi.bmiHeader;
    add(&header.biWidth, sizeof header.biWidth);
    add(&header.biHeight, sizeof header.biHeight);
    add(&header.biBitCount, sizeof header.biBitCount);
    if (result->m_hBitmap != nullptr) {
        const auto bits = static_cast<std::size_t>(header.biWidth) * header.biBitCount;
        for (int row = 0; row < std::abs(header.biHeight); ++row) {
            add(result->m_pBits + static_cast<std::size_t>(row) * rowBytes(header), bits / 8);
        }
    }
    return 1;
}

int MessageCounter::DoMessageBox(LPCSTR text, UINT /*type*/, UINT /*helpId*/) {
    ++messagesHere;
    if (messageDigest != nullptr) {
        messageDigest->add(text);
    }
    return IDOK;
}

Outcome run(const Export& e, Arguments& arguments, unsigned passes,
            const std::function<int(const Call&)>& around) {
    Digest digest;
    Outcome outcome;
    arguments.lists = std::make_unique<Lists>();
    fill(arguments.lists->files, arguments.files);
    fill(arguments.lists->outputs, arguments.outputs);
    const Call call = [&] { return e.call(arguments, digest); };
    messagesHere = 0;
    messageDigest = &digest;
    cv::theRNG().state = 1;
    const auto passed = [&](Passes kind, const std::string& text) {
        messageDigest = nullptr;
        if ((passes & kind) == 0) {
            throw std::logic_error(std::string(e.name) + " let out: " + text);
        }
        outcome.passedOut = kind;
        digest.add(text);
    };
    try {
        outcome.value = around ? around(call) : call();
    } catch (const cv::Exception& exception) {
        passed(passOpenCv, exception.what());
    } catch (const std::bad_alloc& exception) {
        passed(passMemory, exception.what());
    } catch (CInvalidArgException* exception) {
        exception->Delete();
        passed(passInvalidArgument, "an improper argument");
    }
    messageDigest = nullptr;
    for (const std::string& path : arguments.outputs) {
        digest.addFile(path);
    }
    outcome.messages = messagesHere;
    if (e.isMute && outcome.messages != 0) {
        throw std::logic_error(std::string(e.name) + " shows a message");
    }
    outcome.digest = digest.value();
    return outcome;
}

} // namespace test
