#include "host/batch/batch_progress.h"

#include <algorithm>
#include <cmath>
#include <iomanip>
#include <sstream>

namespace host {

namespace {

std::string durationOf(double seconds) {
    const long long whole = std::llround(seconds);
    std::ostringstream text;
    if (whole >= 3600) {
        text << whole / 3600 << " h " << whole % 3600 / 60 << " min";
    } else if (whole >= 60) {
        text << whole / 60 << " min " << whole % 60 << " s";
    } else {
        text << whole << " s";
    }
    return text.str();
}

} // namespace

std::string progressLine(std::size_t finished, std::size_t failed, std::size_t skipped,
                         std::size_t total, double seconds, bool bar) {
    constexpr std::size_t width = 24;
    const std::size_t over = std::min(finished + skipped, total);
    std::ostringstream line;
    line.imbue(std::locale::classic());
    if (bar) {
        const std::size_t full = total == 0 ? width : over * width / total;
        line << '[' << std::string(full, '#') << std::string(width - full, '-') << "] ";
    }
    line << over << '/' << total;
    if (finished > 0 && seconds > 0) {
        const double rate = static_cast<double>(finished) / seconds;
        line << std::fixed << std::setprecision(rate < 10 ? 1 : 0) << ", " << rate << " a second, "
             << durationOf(static_cast<double>(total - over) / rate) << " left";
    }
    if (failed > 0) {
        line << ", " << failed << " failed";
    }
    return line.str();
}

void BatchProgress::show(std::size_t finished, std::size_t failed, std::size_t skipped) {
    const bool terminal = m_output.isTerminal();
    const auto pause = terminal ? std::chrono::milliseconds(200) : std::chrono::seconds(10);
    const auto now = std::chrono::steady_clock::now();
    if (now - m_shown < pause) {
        return;
    }
    m_shown = now;
    const double seconds = std::chrono::duration<double>(now - m_start).count();
    std::string line = progressLine(finished, failed, skipped, m_total, seconds, terminal);
    if (!terminal) {
        m_output.say(line + "\n");
        return;
    }
    const std::size_t width = line.size();
    line.resize(std::max(width, m_width), ' '); // covers what was longer
    m_width = width;
    m_output.say("\r" + line);
}

void BatchProgress::clear() {
    if (m_width > 0) {
        m_output.say("\r" + std::string(m_width, ' ') + "\r");
        m_width = 0;
    }
}

} // namespace host
