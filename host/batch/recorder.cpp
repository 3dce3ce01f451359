#include "host/batch/recorder.h"

#include <chrono>
#include <utility>

namespace host {

std::size_t Recorder::begin() {
    const std::lock_guard lock(m_mutex);
    return m_begun++;
}

void Recorder::write(const std::optional<Entry>& entry) {
    if (!entry || m_error) {
        return;
    }
    try {
        if (m_manifest != nullptr) {
            m_manifest->add(entry->record);
        }
        ++(entry->failed ? m_counts.failed : m_counts.done);
        if (entry->failed) {
            m_onFailure(entry->record);
        }
    } catch (...) {
        m_error = std::current_exception();
    }
}

void Recorder::finish(std::size_t place, std::optional<Entry> entry) {
    const std::lock_guard lock(m_mutex);
    m_waiting.emplace(place, std::move(entry));
    for (auto first = m_waiting.begin(); first != m_waiting.end() && first->first == m_next;
         first = m_waiting.erase(first)) {
        write(first->second);
        ++m_next;
    }
    m_written.notify_all();
}

bool Recorder::waitFor(std::size_t unwritten) {
    constexpr std::chrono::milliseconds moment{100};
    std::unique_lock lock(m_mutex);
    return m_written.wait_for(lock, moment, [&] { return m_begun - m_next <= unwritten; });
}

Counts Recorder::counts() const {
    const std::lock_guard lock(m_mutex);
    return m_counts;
}

void Recorder::rethrow() const {
    const std::lock_guard lock(m_mutex);
    if (m_error) {
        std::rethrow_exception(m_error);
    }
}

} // namespace host
