// Collects what came of a batch's images, and writes it down in the order of the images.
#pragma once

#include "host/batch/manifest.h"

#include <condition_variable>
#include <cstddef>
#include <exception>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>

namespace host {

struct Counts {
    std::size_t done = 0;
    std::size_t failed = 0;
};

// Any thread may call its functions.
class Recorder {
public:
    // What came of one image.
    struct Entry {
        Json record{};
        bool failed = false;
    };

    // `manifest` may be null. `onFailure` gets the records of failed images, in order.
    Recorder(ManifestWriter* manifest, std::function<void(const Json& record)> onFailure)
        : m_manifest(manifest), m_onFailure(std::move(onFailure)) {}

    // The next image's place in the order, from 0.
    std::size_t begin();

    // Notes what came of it; none: nothing did, as when it was stopped. Writes down what is now
    // complete up to its place. Throws nothing: see rethrow().
    void finish(std::size_t place, std::optional<Entry> entry);

    // Waits a moment for the images that are begun and not written down to be at most that many.
    // Returns whether they are.
    bool waitFor(std::size_t unwritten);

    [[nodiscard]] Counts counts() const;

    // Throws what kept the manifest from being written, if anything did.
    void rethrow() const;

private:
    void write(const std::optional<Entry>& entry);

    ManifestWriter* m_manifest;
    std::function<void(const Json&)> m_onFailure;
    mutable std::mutex m_mutex;
    std::condition_variable m_written;
    std::map<std::size_t, std::optional<Entry>> m_waiting; // for images before them
    std::size_t m_begun = 0;
    std::size_t m_next = 0; // to be written down
    Counts m_counts;
    std::exception_ptr m_error;
};

} // namespace host
