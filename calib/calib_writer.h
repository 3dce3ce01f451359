// Writes calibration files so that a failure leaves the earlier ones.
#pragma once

#include <opencv2/core/mat.hpp>

#include <filesystem>
#include <string>
#include <vector>

namespace tarvix {

// Writes matrices, each into a file of its own, existing files replaced.
//
// Each document is written beside its target; they take their places in commit(), in the order of
// add(), once all of them are whole. When one cannot, those before it become what they were, so a
// failure leaves the earlier files. In a folder that takes no new files, an existing file is
// written in place. Symbolic links are followed. Throws cv::Exception if a file
// cannot be written.
class MatrixWriter {
public:
    MatrixWriter() = default;
    ~MatrixWriter();
    MatrixWriter(const MatrixWriter&) = delete;
    MatrixWriter& operator=(const MatrixWriter&) = delete;

    // `name` is the file as the host wrote it, for messages.
    void add(const std::filesystem::path& file, const std::string& name, const char* key,
             const cv::Mat& matrix);
    void commit();

private:
    struct Pending {
        std::string name; // for messages
        std::filesystem::path target, beside;
        std::string document;
        std::string earlier; // the target's bytes
        bool existed = false;
        bool isBeside = false; // written there; false: to be written in place
        bool isPlaced = false;
    };
    static void restore(const Pending& one);

    std::vector<Pending> m_pending;
};

} // namespace tarvix
