// The device behind emulated_camera.h. This library is linked or preloaded into a program and
// replaces its open() and ioctl(). /dev/video0 becomes an unnamed file that holds the buffers, so
// the program's own mmap(), select() and close() work unchanged. The requests of the video system
// are answered here. Without the environment variable every call goes to the system.
#include "tests/support/camera_file.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <fstream>
#include <string>
#include <vector>

#include <fcntl.h>
#include <linux/videodev2.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

constexpr std::uint32_t bufferCount = 4;

struct Camera {
    int descriptor = -1;
    test::CameraFile header;
    std::vector<char> frames;
    std::uint32_t delivered = 0;
    std::deque<std::uint32_t> queue; // buffers to fill

    [[nodiscard]] std::uint32_t frameBytes() const { return header.width * header.height * 3; }
    [[nodiscard]] std::uint32_t bufferBytes() const { return (frameBytes() + 4095) / 4096 * 4096; }
};

Camera& camera() {
    static Camera instance;
    return instance;
}

int fail(int error) {
    errno = error;
    return -1;
}

int openCamera(const char* framesPath) {
    Camera& self = camera();
    std::ifstream file(framesPath, std::ios::binary);
    self = {};
    if (!file.read(reinterpret_cast<char*>(&self.header), sizeof self.header)) {
        return fail(ENOENT);
    }
    self.frames.resize(std::size_t{self.frameBytes()} * self.header.frames);
    if (!file.read(self.frames.data(), static_cast<std::streamsize>(self.frames.size()))) {
        return fail(EIO);
    }
    self.descriptor = memfd_create("camera", MFD_CLOEXEC);
    if (ftruncate(self.descriptor, off_t{bufferCount} * self.bufferBytes()) != 0) {
        return -1;
    }
    return self.descriptor;
}

void describe(v4l2_format& format) {
    v4l2_pix_format& pixels = format.fmt.pix;
    pixels = {};
    pixels.width = camera().header.width;
    pixels.height = camera().header.height;
    pixels.pixelformat = V4L2_PIX_FMT_BGR24;
    pixels.field = V4L2_FIELD_NONE;
    pixels.bytesperline = pixels.width * 3;
    pixels.sizeimage = camera().frameBytes();
    pixels.colorspace = V4L2_COLORSPACE_SRGB;
}

void place(v4l2_buffer& buffer) {
    buffer.length = camera().bufferBytes();
    buffer.m.offset = buffer.index * camera().bufferBytes();
    buffer.memory = V4L2_MEMORY_MMAP;
    buffer.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
}

int deliver(v4l2_buffer& buffer) {
    Camera& self = camera();
    if (self.delivered >= self.header.served) {
        return fail(ENODEV); // unplugged
    }
    if (self.queue.empty()) {
        return fail(EAGAIN);
    }
    buffer.index = self.queue.front();
    self.queue.pop_front();
    place(buffer);
    buffer.bytesused = self.frameBytes();
    buffer.sequence = self.delivered;
    const std::uint32_t frame = std::min(self.delivered, self.header.frames - 1);
    ++self.delivered;
    const char* const bytes = self.frames.data() + std::size_t{frame} * self.frameBytes();
    const ssize_t written =
        pwrite(self.descriptor, bytes, self.frameBytes(), off_t{buffer.m.offset});
    return written == static_cast<ssize_t>(self.frameBytes()) ? 0 : fail(EIO);
}

int answer(unsigned long request, void* argument) {
    switch (request) {
    case VIDIOC_QUERYCAP: {
        auto& capability = *static_cast<v4l2_capability*>(argument);
        capability = {};
        std::memcpy(capability.driver, "emulated", sizeof "emulated");
        std::memcpy(capability.card, "Emulated camera", sizeof "Emulated camera");
        capability.capabilities = V4L2_CAP_VIDEO_CAPTURE | V4L2_CAP_STREAMING;
        return 0;
    }
    case VIDIOC_G_INPUT:
        *static_cast<int*>(argument) = 0;
        return 0;
    case VIDIOC_G_FMT:
    case VIDIOC_S_FMT:
    case VIDIOC_TRY_FMT:
        describe(*static_cast<v4l2_format*>(argument));
        return 0;
    case VIDIOC_REQBUFS: {
        auto& buffers = *static_cast<v4l2_requestbuffers*>(argument);
        buffers.count = std::min(buffers.count, bufferCount);
        camera().queue.clear();
        return 0;
    }
    case VIDIOC_QUERYBUF:
        place(*static_cast<v4l2_buffer*>(argument));
        return 0;
    case VIDIOC_QBUF:
        camera().queue.push_back(static_cast<v4l2_buffer*>(argument)->index);
        return 0;
    case VIDIOC_DQBUF:
        return deliver(*static_cast<v4l2_buffer*>(argument));
    case VIDIOC_STREAMON:
    case VIDIOC_STREAMOFF:
        return 0;
    default:
        return fail(ENOTTY); // no controls, no frame rates: OpenCV does without
    }
}

} // namespace

#define EXPORTED extern "C" __attribute__((visibility("default")))

EXPORTED int open(const char* file, int oflag, ...) {
    mode_t mode = 0;
    if ((oflag & (O_CREAT | O_TMPFILE)) != 0) {
        va_list arguments;
        va_start(arguments, oflag);
        mode = va_arg(arguments, mode_t);
        va_end(arguments);
    }
    const char* const framesPath = std::getenv(test::cameraVariable);
    if (framesPath != nullptr && std::strcmp(file, "/dev/video0") == 0) {
        return openCamera(framesPath);
    }
    return openat(AT_FDCWD, file, oflag, mode);
}

EXPORTED int ioctl(int fd, unsigned long request, ...) noexcept {
    va_list arguments;
    va_start(arguments, request);
    void* const argument = va_arg(arguments, void*);
    va_end(arguments);
    // After it is closed, the number may be another file's, which gets no requests of the video
    // system.
    if (_IOC_TYPE(request) == 'V' && fd == camera().descriptor) {
        return answer(request, argument);
    }
    return static_cast<int>(syscall(SYS_ioctl, fd, request, argument));
}
