// One job of the benchmark: a method, its sizes and settings, and the speed that is aimed for.
// The table in jobs.cpp is made of these; contenders read them, nothing changes them.
#pragma once

#include <cstdint>
#include <string>

namespace bench {

enum class Task : std::uint8_t {
    Resampling,         // "ScalingZVK"
    FastScaling,        // "ScaleZVK" without anti-aliasing
    SmoothEnlargement,  // "ScaleZVK" with anti-aliasing, both sides growing
    Blur,               // "BlurZVK"
    Drawing,            // "DrawPictureFZVK" at a fraction of a pixel
};

// The filters of "ScalingZVK", numbered as its mode argument.
enum class Mode : std::uint8_t { Triangle = 1, Box, Lanczos3, Lanczos8, Mitchell, Bicubic, Cubic6 };

struct Size {
    int width = 0;
    int height = 0;

    friend bool operator==(const Size&, const Size&) = default;
};

/// Bytes of a picture of 32-bit pixels.
constexpr std::int64_t Bytes(Size size) {
    return std::int64_t{4} * size.width * size.height;
}

struct Goal {
    /// Time relative to the fastest peer that does the same job; below 1 is faster than it.
    double avx512 = 0;
    double avx2 = 0;
    /// Time of the fastest peer known anywhere, as a multiple of the memcpy of the job's bytes; 0
    /// where there is no one figure. Times a ratio above it is a goal in memcpys.
    double fastestKnown = 0;
};

struct Job {
    Task task = Task::Resampling;
    Size source;
    Size target;            // of the result; in drawing, of the picture drawn upon
    Mode mode = Mode::Box;  // in resampling
    int radius = 0;         // in blur
    bool masked = false;    // in drawing
    Goal goal;
};

// Where drawing puts the top left corner, beyond a fifth of the picture drawn upon.
inline constexpr double drawingFraction = 0.25;

/// The corner at which the drawing job draws, without its fraction.
constexpr Size DrawingCorner(const Job& job) {
    return {job.target.width / 5, job.target.height / 5};
}

/// Both sides become smaller, larger, or stay.
constexpr bool Reduces(const Job& job) {
    return job.target.width < job.source.width && job.target.height < job.source.height;
}
constexpr bool Enlarges(const Job& job) {
    return job.target.width > job.source.width && job.target.height > job.source.height;
}
constexpr bool KeepsSize(const Job& job) {
    return job.target == job.source;
}

/// Bytes that a job cannot but read, and write.
std::int64_t BytesRead(const Job& job);
std::int64_t BytesWritten(const Job& job);

/// "triangle", "Lanczos3" and so on.
std::string NameOf(Mode mode);

/// "4000x3000 to 1000x750, triangle", unique among the jobs.
std::string NameOf(const Job& job);

}  // namespace bench
