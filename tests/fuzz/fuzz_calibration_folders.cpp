// Calibration folders whose files hold fuzzed bytes.
#include "tests/fuzz/fuzzing.h"
#include "tests/support/files.h"

#include <filesystem>
#include <map>
#include <optional>
#include <sstream>

namespace {

namespace fs = std::filesystem;

struct Reader {
    const char* name;
    int camera;
    std::vector<std::string> files;
};

const std::array<Reader, 4> readers{{
    {"tx_UseCalib", 0, {"cam.xml", "dist.xml"}},
    {"tx_UseStereoCalib", 1, {"M1.xml", "D1.xml", "R1.xml", "P1.xml"}},
    {"tx_UseStereoCalib", 2, {"M2.xml", "D2.xml", "R2.xml", "P2.xml"}},
    {"tx_Meas3D", 0, {"Q.xml"}},
}};

// A folder of calibration files. Only a file that changes is written again.
class CalibrationFolder {
public:
    [[nodiscard]] std::string path() const { return m_folder.path(); }

    // nullopt: the file as a calibration writes it.
    void set(const std::string& file, const std::optional<std::string>& bytes) {
        const std::string& wanted = bytes ? *bytes : sound(file);
        const auto known = m_written.find(file);
        if (known == m_written.end() || known->second != wanted) {
            test::writeBytes(m_folder / file, wanted);
            m_written[file] = wanted;
        }
    }
    void remove(const std::string& file) {
        fs::remove(m_folder / file);
        m_written.erase(file);
    }

private:
    const std::string& sound(const std::string& file) {
        std::string& bytes = m_sound[file];
        if (bytes.empty()) {
            bytes = test::bytesOf(fuzz::workplace().calibration() + "/" + file);
        }
        return bytes;
    }

    test::TempFolder m_folder;
    std::map<std::string, std::string> m_sound, m_written;
};

} // namespace

// The first byte chooses the export, and which one of its files gets the rest. Or each of them gets
// a part, with zeros between the parts; a file whose part is empty does not exist.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static CalibrationFolder folder;
    fuzz::Bytes in(data, size);
    const unsigned choice = in.byte();
    const Reader& reader = readers[choice % readers.size()];
    const std::size_t target = choice / 4 % 8;
    std::istringstream parts(in.rest());
    for (std::size_t i = 0; i < reader.files.size(); ++i) {
        if (target < reader.files.size()) {
            folder.set(reader.files[i], i == target ? std::optional(in.rest()) : std::nullopt);
        } else if (std::string part; std::getline(parts, part, '\0') && !part.empty()) {
            folder.set(reader.files[i], part);
        } else {
            folder.remove(reader.files[i]);
        }
    }
    test::Arguments a;
    a.image = fuzz::smallBitmap(16, 12, choice < 128 ? 24 : 8, "\x10\x90\xF0\x30\x77");
    a.folder = folder.path();
    a.ints[0] = reader.camera;
    a.reals = {30, 20, 25, 20};
    fuzz::call(reader.name, a);
    return 0;
}
