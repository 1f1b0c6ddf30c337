// JPEG with libjpeg-turbo, which reports errors by longjmp. So a function that calls setjmp owns no resources; its class owns them.
#include "jpeg.h"

#include "image.h"
#include <algorithm>
#include <csetjmp>
#include <cstdio>
#include <jerror.h>
#include <jpeglib.h>
#include <memory>
#include <vector>

namespace platform {
namespace {

// No encoder packs more pixels into a byte; a file that claims more is rejected before memory is allocated.
constexpr std::uint64_t mostPixelsPerByte = 4096;
// A small file with many scans could take hours to decode.
constexpr int mostScans = 200;

struct Errors : jpeg_error_mgr {
    std::jmp_buf leave;
};

[[noreturn]] void leave(j_common_ptr info) { std::longjmp(static_cast<Errors*>(info->err)->leave, 1); }

// A file that only lacks its end mark holds the whole picture: missing data inside a scan has a warning of its own. With several scans, a
// whole scan could be missing.
bool isHarmless(j_common_ptr info)
{
    switch (info->err->msg_code) {
    case JWRN_EXTRANEOUS_DATA:
    case JWRN_ADOBE_XFORM: return true;
    case JWRN_JPEG_EOF: return info->is_decompressor && !jpeg_has_multiple_scans(reinterpret_cast<j_decompress_ptr>(info));
    default: return false;
    }
}

// Treats a warning as damage.
void onMessage(j_common_ptr info, int level)
{
    if (level < 0 && !isHarmless(info)) leave(info);
}

void onProgress(j_common_ptr info)
{
    if (info->is_decompressor && reinterpret_cast<j_decompress_ptr>(info)->input_scan_number > mostScans) leave(info);
}

Errors* prepare(Errors& errors)
{
    jpeg_std_error(&errors);
    errors.error_exit = leave;
    errors.emit_message = onMessage;
    return &errors;
}

struct CloseFile {
    void operator()(std::FILE* file) const noexcept { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

class Decoder {
public:
    explicit Decoder(const std::filesystem::path& file) : file_(std::fopen(file.c_str(), "rb"))
    {
        std::error_code error;
        size_ = std::filesystem::file_size(file, error);
        if (error) file_.reset();
        info_.err = prepare(errors_);
    }
    Decoder(const Decoder&) = delete;
    Decoder& operator=(const Decoder&) = delete;
    ~Decoder() { jpeg_destroy_decompress(&info_); }

    std::u16string run()
    {
        if (!file_ || !readHeader()) return {};
        layout_.width = info_.image_width;
        layout_.height = info_.image_height;
        layout_.bits = info_.jpeg_color_space == JCS_GRAYSCALE ? 8 : 24;
        if (!layout_.isSane() || std::uint64_t{layout_.width} * layout_.height / mostPixelsPerByte > size_) return {};
        bitmap_ = makeBitmap(layout_);
        if (inks()) inkRow_.resize(std::size_t{4} * layout_.width);
        if (!readRows()) return {};
        if (layout_.bits == 8) fillGreyTable();
        return std::move(bitmap_);
    }

private:
    bool readHeader()
    {
        if (setjmp(errors_.leave)) return false; // NOLINT: the library knows no other way
        jpeg_create_decompress(&info_);
        info_.mem->max_memory_to_use = static_cast<long>(2 * maxBitmapBytes);
        progress_.progress_monitor = onProgress;
        info_.progress = &progress_;
        jpeg_stdio_src(&info_, file_.get());
        return jpeg_read_header(&info_, TRUE) == JPEG_HEADER_OK;
    }

    // Data behind the last row is ignored.
    bool readRows()
    {
        if (setjmp(errors_.leave)) return false; // NOLINT
        info_.out_color_space = inks() ? JCS_CMYK : layout_.bits == 8 ? JCS_GRAYSCALE : JCS_EXT_BGR;
        jpeg_start_decompress(&info_);
        while (info_.output_scanline < info_.output_height) {
            std::uint8_t* to = pixels() + layout_.rowAt(info_.output_scanline);
            JSAMPROW row = inks() ? inkRow_.data() : to;
            jpeg_read_scanlines(&info_, &row, 1);
            if (inks()) mixInks(to);
        }
        return true;
    }

    [[nodiscard]] bool inks() const noexcept { return info_.num_components == 4; }
    [[nodiscard]] std::uint8_t* pixels() noexcept { return reinterpret_cast<std::uint8_t*>(bitmap_.data()); }

    // Files with Adobe's marker store the inks inverted.
    void mixInks(std::uint8_t* bgr) noexcept
    {
        const unsigned invert = info_.saw_Adobe_marker ? 0 : 255;
        const std::uint8_t* ink = inkRow_.data();
        for (std::size_t x = 0; x < layout_.width; ++x, ink += 4, bgr += 3)
            for (int c = 0; c < 3; ++c) bgr[2 - c] = static_cast<std::uint8_t>((ink[c] ^ invert) * (ink[3] ^ invert) / 255);
    }

    void fillGreyTable() noexcept
    {
        for (std::size_t i = 0; i < 256; ++i) std::fill_n(pixels() + bitmapHeaderSize + 4 * i, 3, static_cast<std::uint8_t>(i));
    }

    File file_;
    std::uintmax_t size_ = 0;
    Errors errors_{};
    jpeg_decompress_struct info_{};
    jpeg_progress_mgr progress_{};
    BitmapLayout layout_;
    std::u16string bitmap_;
    std::vector<std::uint8_t> inkRow_;
};

class Encoder {
public:
    Encoder(Bytes bitmap, const BitmapLayout& layout, const std::filesystem::path& file)
        : bitmap_(bitmap), layout_(layout), grey_(isGrey(bitmap, layout)), file_(std::fopen(file.c_str(), "wb")),
          row_(std::size_t{3} * layout.width)
    {
        info_.err = prepare(errors_);
    }
    Encoder(const Encoder&) = delete;
    Encoder& operator=(const Encoder&) = delete;
    ~Encoder() { jpeg_destroy_compress(&info_); }

    bool run() { return file_ && write() && std::fclose(file_.release()) == 0; }

private:
    bool write()
    {
        if (setjmp(errors_.leave)) return false; // NOLINT
        jpeg_create_compress(&info_);
        jpeg_stdio_dest(&info_, file_.get());
        info_.image_width = layout_.width;
        info_.image_height = layout_.height;
        info_.input_components = grey_ ? 1 : layout_.bits == 32 ? 4 : 3;
        info_.in_color_space = grey_ ? JCS_GRAYSCALE : layout_.bits == 32 ? JCS_EXT_BGRX : JCS_EXT_BGR;
        jpeg_set_defaults(&info_);
        jpeg_set_quality(&info_, 100, TRUE);
        info_.comp_info[0].h_samp_factor = info_.comp_info[0].v_samp_factor = 1; // full colour resolution
        jpeg_start_compress(&info_, TRUE);
        while (info_.next_scanline < info_.image_height) {
            JSAMPROW row = rowAt(info_.next_scanline);
            jpeg_write_scanlines(&info_, &row, 1);
        }
        jpeg_finish_compress(&info_);
        return true;
    }

    // libjpeg does not write to the rows, despite the type.
    JSAMPROW rowAt(std::size_t y) noexcept
    {
        if (layout_.bits == 24 || layout_.bits == 32) return const_cast<JSAMPROW>(bitmap_.data() + layout_.rowAt(y));
        readRow(bitmap_, layout_, y, row_.data());
        if (grey_)
            for (std::size_t x = 0; x < layout_.width; ++x) row_[x] = row_[3 * x];
        return row_.data();
    }

    Bytes bitmap_;
    BitmapLayout layout_;
    bool grey_;
    File file_;
    std::vector<std::uint8_t> row_;
    Errors errors_{};
    jpeg_compress_struct info_{};
};

} // namespace

std::u16string loadJpeg(const std::filesystem::path& file) { return Decoder(file).run(); }

bool saveJpeg(Bytes bitmap, const BitmapLayout& layout, const std::filesystem::path& file) { return Encoder(bitmap, layout, file).run(); }

} // namespace platform
