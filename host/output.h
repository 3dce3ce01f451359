// The one place where the program prints: results on standard output, as text or as one line of
// JSON; warnings and failures as lines "tarvix: ..." on standard error.
#pragma once

#include "host/result.h"

#include <cstddef>
#include <functional>
#include <ostream>
#include <string>
#include <utility>

namespace host {

class Output {
public:
    // The streams must outlive the object. It prints text until useJson() is called. `terminal`:
    // a person sees `out` in a terminal, where a line can be rewritten.
    Output(std::ostream& out, std::ostream& errors, bool terminal = false)
        : m_out(&out), m_errors(errors), m_terminal(terminal) {}

    // The process' standard input and output are a user's, who may send images through them.
    void offerPipes() { m_pipes = true; }
    [[nodiscard]] bool hasPipes() const { return m_pipes; }

    // Leaves standard output to an image: text and JSON go to standard error from here on.
    void keepForImage() {
        m_out = &m_errors;
        m_terminal = false;
    }

    void useJson() { m_json = true; }
    [[nodiscard]] bool json() const { return m_json; }
    [[nodiscard]] bool isTerminal() const { return m_terminal; }

    // Shows text to people who watch, at once. Prints nothing in JSON.
    void say(const std::string& text);

    // Prints the data: in JSON as one object, else what `text` makes of it, which may be empty.
    // JSON is UTF-8; what a file name has of anything else becomes U+FFFD.
    void print(const Json& data, const AsText& text);

    // Gets how far a long list of steps is: how many are done, of how many, and the last one's
    // name. For programs; people read what say() shows.
    using OnStep =
        std::function<void(std::size_t done, std::size_t total, const std::string& what)>;
    void watchSteps(OnStep onStep) { m_onStep = std::move(onStep); }
    void step(std::size_t done, std::size_t total, const std::string& what) {
        if (m_onStep) {
            m_onStep(done, total, what);
        }
    }

    void warn(const std::string& sentence);
    void fail(const std::string& reason);

    // Why it failed: the last reason that was given to fail(); empty: none was.
    [[nodiscard]] const std::string& failure() const { return m_failure; }

    // False if something printed was lost, which a full disk shows only now.
    [[nodiscard]] bool flush();

private:
    std::ostream* m_out;
    std::ostream& m_errors;
    bool m_terminal;
    bool m_json = false;
    bool m_pipes = false;
    std::string m_failure;
    OnStep m_onStep;
};

// The text on one line: OpenCV's messages span several.
std::string oneLine(const std::string& text);

} // namespace host
