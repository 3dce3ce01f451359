// The system's files with calls that fail on demand: the disk is full, the process is killed.
#pragma once

#include <common/file_system.h>

#include <algorithm>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace test {

// Which steps fail, counted from 1; 0 is none. Every call that may change something is a step, and
// so is every half of a write.
struct Faults {
    int fails = 0; // this one ends in the error
    std::errc error = std::errc::io_error;
    int killed = 0; // neither this one nor a later one is done
};

// Passes calls on to another file system, but for those that fail. Does not wait for the disk.
class FaultyFiles : public tarvix::FileSystem {
public:
    explicit FaultyFiles(tarvix::FileSystem& real, const Faults& faults = {})
        : m_real(real), m_faults(faults) {}

    // The calls that failed and that was killed, such as "rename a to b"; empty if there were none.
    [[nodiscard]] const std::string& failed() const { return m_failed; }
    [[nodiscard]] const std::string& killed() const { return m_killed; }
    // All calls so far.
    [[nodiscard]] const std::vector<std::string>& steps() const { return m_steps; }

    // Makes calls fail by their names.
    std::function<std::error_code(const std::string& call)> refuse;
    // Gives these names first.
    std::vector<std::string> names;

    std::unique_ptr<tarvix::OpenFile> open(const std::filesystem::path& file,
                                           std::error_code& error) override {
        return wrapped(file, error, "open", [&] { return m_real.open(file, error); });
    }
    std::unique_ptr<tarvix::OpenFile> create(const std::filesystem::path& file,
                                             std::error_code& error) override {
        return wrapped(file, error, "create", [&] { return m_real.create(file, error); });
    }
    std::error_code rename(const std::filesystem::path& from,
                           const std::filesystem::path& to) override {
        return step("rename " + shown(from) + " to " + shown(to),
                    [&] { return m_real.rename(from, to); });
    }
    std::error_code remove(const std::filesystem::path& file) override {
        return step("remove " + shown(file), [&] { return m_real.remove(file); });
    }
    std::error_code syncFolder(const std::filesystem::path& /*folder*/) override {
        return step("syncFolder", [] { return std::error_code(); });
    }
    std::unique_ptr<tarvix::FolderLock> lockFolder(const std::filesystem::path& folder,
                                                   tarvix::Access access) override {
        return m_real.lockFolder(folder, access);
    }
    std::string uniqueName() override {
        if (names.empty()) {
            return m_real.uniqueName();
        }
        std::string name = names.front();
        names.erase(names.begin());
        return name;
    }
    std::string_view lineEnd() override { return m_real.lineEnd(); }

private:
    class File final : public tarvix::OpenFile {
    public:
        File(FaultyFiles& files, std::unique_ptr<tarvix::OpenFile> real, std::string name)
            : m_files(files), m_real(std::move(real)), m_name(std::move(name)) {}

        std::error_code read(std::string& bytes) override {
            return m_files.step("read " + m_name, [&] { return m_real->read(bytes); });
        }
        std::error_code write(std::string_view bytes, std::size_t& written) override {
            written = 0;
            const std::string_view half = bytes.substr(0, bytes.size() / 2);
            for (const std::string_view part : {half, bytes}) {
                const std::error_code error =
                    m_files.step("write " + m_name, [&] { return m_real->write(part, written); });
                if (error) {
                    return error;
                }
            }
            return {};
        }
        std::error_code reserve(std::size_t size) override {
            return m_files.step("reserve " + m_name, [&] { return m_real->reserve(size); });
        }
        std::error_code resize(std::size_t size) override {
            return m_files.step("resize " + m_name, [&] { return m_real->resize(size); });
        }
        std::error_code sync() override {
            return m_files.step("sync " + m_name, [] { return std::error_code(); });
        }
        bool takeAfter(const tarvix::OpenFile& original) override {
            bool result = false;
            const std::error_code error = m_files.step("takeAfter " + m_name, [&] {
                result = m_real->takeAfter(*static_cast<const File&>(original).m_real);
                return std::error_code();
            });
            return result && !error;
        }

    private:
        FaultyFiles& m_files;
        std::unique_ptr<tarvix::OpenFile> m_real;
        std::string m_name;
    };

    // ".cam.xml.UNIQUE.new" is shown as "cam.xml.new".
    static std::string shown(const std::filesystem::path& path) {
        std::string name = path.filename().string();
        if (!name.empty() && name.front() == '.') {
            const std::string suffix = path.extension().string();
            name.erase(name.size() - suffix.size());
            name = name.substr(1, name.rfind('.') - 1) + suffix;
        }
        return name;
    }

    template <class Call>
    std::error_code step(const std::string& name, Call call) {
        if (!m_killed.empty()) {
            return make_error_code(std::errc::owner_dead);
        }
        const std::error_code refused = refuse ? refuse(name) : std::error_code();
        if (refused) {
            return refused;
        }
        m_steps.push_back(name);
        const int number = static_cast<int>(m_steps.size());
        if (number == m_faults.killed) {
            m_killed = name;
            return make_error_code(std::errc::owner_dead);
        }
        if (number == m_faults.fails) {
            m_failed = name;
            return make_error_code(m_faults.error);
        }
        return call();
    }

    template <class Call>
    std::unique_ptr<tarvix::OpenFile> wrapped(const std::filesystem::path& path,
                                              std::error_code& error, const char* what, Call call) {
        std::unique_ptr<tarvix::OpenFile> file;
        error = step(std::string(what) + ' ' + shown(path), [&] {
            file = call();
            return error;
        });
        return file == nullptr ? nullptr
                               : std::make_unique<File>(*this, std::move(file), shown(path));
    }

    tarvix::FileSystem& m_real;
    Faults m_faults;
    std::string m_failed, m_killed;
    std::vector<std::string> m_steps;
};

} // namespace test
