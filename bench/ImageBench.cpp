// Measures the conversion of an image from a file to a bitmap and back, compared with libjpeg-turbo's own tools if they are installed.
#include "bitmap.h"
#include "image.h"

#include <benchmark/benchmark.h>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <random>

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

// Smooth waves with some noise, like a photograph.
std::u16string photograph(std::uint32_t width, std::uint32_t height)
{
    platform::BitmapLayout layout;
    layout.width = width;
    layout.height = height;
    std::u16string bitmap = platform::makeBitmap(layout);
    auto* bytes = reinterpret_cast<std::uint8_t*>(bitmap.data());
    std::minstd_rand random(1);
    for (std::size_t y = 0; y < height; ++y)
        for (std::size_t i = 0; i < std::size_t{3} * width; ++i)
            bytes[layout.rowAt(y) + i] = static_cast<std::uint8_t>(128 + (i / 30 + y / 9) % 100 + random() % 8);
    return bitmap;
}

struct Files {
    fs::path folder = fs::temp_directory_path() / ("mb-image-bench-" + std::to_string(std::random_device{}()));
    fs::path jpeg = folder / "a.jpg", bmp = folder / "a.bmp";
    std::u16string bitmap;
    Files(std::uint32_t width, std::uint32_t height) : bitmap(photograph(width, height))
    {
        fs::create_directories(folder);
        platform::saveImage(bitmap, jpeg, platform::ImageFormat::Jpeg);
        platform::saveImage(bitmap, bmp, platform::ImageFormat::Bmp);
    }
    Files(const Files&) = delete;
    Files& operator=(const Files&) = delete;
    ~Files() { fs::remove_all(folder); }
};

double seconds(const auto& work)
{
    const auto start = Clock::now();
    work();
    return std::chrono::duration<double>(Clock::now() - start).count();
}

template <class Work> void measure(benchmark::State& state, const std::string& tool, Work&& work)
{
    const auto width = static_cast<std::uint32_t>(state.range(0)), height = width * 3 / 4;
    Files files(width, height);
    double ours = 1e9, theirs = 1e9;
    for (auto _ : state) {
        const double now = seconds([&] { work(files); });
        state.SetIterationTime(now);
        ours = std::min(ours, now);
        const std::string command = "cd '" + files.folder.string() + "' && " + tool + " 2>/dev/null";
        bool ran = false;
        const double other = seconds([&] { ran = std::system(command.c_str()) == 0; });
        if (ran) theirs = std::min(theirs, other);
    }
    state.counters["Mpixel/s"] = width * height / ours / 1e6;
    if (theirs < 1e9) state.counters["x_tool_speed"] = theirs / ours;
}

void FromJpeg(benchmark::State& state)
{
    measure(state, "djpeg -bmp -outfile tool.bmp a.jpg", [](Files& files) {
        platform::saveImage(platform::loadImage(files.jpeg), files.folder / "ours.bmp", platform::ImageFormat::Bmp);
    });
}

void ToJpeg(benchmark::State& state)
{
    measure(state, "cjpeg -quality 100 -sample 1x1 -outfile tool.jpg a.bmp", [](Files& files) {
        platform::saveImage(platform::loadImage(files.bmp), files.folder / "ours.jpg", platform::ImageFormat::Jpeg);
    });
}

#define SIZES ->Arg(320)->Arg(1600)->Arg(4000)->Iterations(5)->UseManualTime()->Unit(benchmark::kMillisecond)
BENCHMARK(FromJpeg) SIZES;
BENCHMARK(ToJpeg) SIZES;

} // namespace

BENCHMARK_MAIN();
