// JPEG with the Windows Imaging Component. It reports no damage inside a scan and allocates whatever size a file claims; so the file's
// outline is checked first.
#include "jpeg.h"

#include "com.h"
#include "files.h"
#include "image.h"
#include "win32/jpeg_outline.h"
#include <vector>
#include <wincodec.h>

namespace platform {
namespace {

// No encoder packs more pixels into a byte; a file that claims more is rejected before memory is allocated.
constexpr std::uint64_t mostPixelsPerByte = 4096;
// A small file with many scans could take hours to decode.
constexpr unsigned mostScans = 200;

com::Ptr<IWICImagingFactory> imaging()
{
    com::Ptr<IWICImagingFactory> factory;
    com::check(com::createInstance(CLSID_WICImagingFactory, factory, CLSCTX_INPROC_SERVER));
    return factory;
}

// Creates the codec by its own class, so that no other installed decoder reads the file.
template <class I> com::Ptr<I> createCodec(REFCLSID clsid)
{
    com::Ptr<I> codec;
    com::check(com::createInstance(clsid, codec, CLSCTX_INPROC_SERVER));
    return codec;
}

class Decoder {
public:
    explicit Decoder(const JpegOutline& outline) : outline_(outline)
    {
        layout_.width = outline.width;
        layout_.height = outline.height;
        layout_.bits = outline.components == 1 ? 8 : 24;
    }

    std::u16string run(std::string& file)
    {
        if (outline_.components == 2 || outline_.components > 4) return {};
        if (!layout_.isSane() || std::uint64_t{layout_.width} * layout_.height / mostPixelsPerByte > file.size()) return {};
        com::Ptr<IWICStream> stream;
        com::check(imaging()->CreateStream(stream.put()));
        com::check(stream->InitializeFromMemory(reinterpret_cast<BYTE*>(file.data()), static_cast<DWORD>(file.size())));
        const auto decoder = createCodec<IWICBitmapDecoder>(CLSID_WICJpegDecoder);
        com::check(decoder->Initialize(stream.get(), WICDecodeMetadataCacheOnDemand));
        com::Ptr<IWICBitmapFrameDecode> frame;
        com::check(decoder->GetFrame(0, frame.put()));
        if (!isAsOutlined(frame.get())) return {};
        bitmap_ = makeBitmap(layout_);
        readRows(frame.get());
        return std::move(bitmap_);
    }

private:
    [[nodiscard]] std::uint8_t* bytes() noexcept { return reinterpret_cast<std::uint8_t*>(bitmap_.data()); }
    [[nodiscard]] bool inks() const noexcept { return outline_.components == 4; }

    bool isAsOutlined(IWICBitmapFrameDecode* frame) const
    {
        UINT width = 0, height = 0;
        WICPixelFormatGUID format{};
        com::check(frame->GetSize(&width, &height));
        com::check(frame->GetPixelFormat(&format));
        const WICPixelFormatGUID& expected = inks()              ? GUID_WICPixelFormat32bppCMYK
                                             : layout_.bits == 8 ? GUID_WICPixelFormat8bppGray
                                                                 : GUID_WICPixelFormat24bppBGR;
        return width == layout_.width && height == layout_.height && format == expected;
    }

    // The decoder delivers rows from the top, the bitmap stores them from the bottom; so each row is copied to its place.
    void readRows(IWICBitmapFrameDecode* frame)
    {
        for (std::size_t i = 0; i < layout_.colours(); ++i)
            std::fill_n(bytes() + bitmapHeaderSize + 4 * i, 3, static_cast<std::uint8_t>(i));
        std::vector<std::uint8_t> row(std::size_t{layout_.width} * outline_.components);
        const auto length = static_cast<UINT>(row.size());
        for (std::uint32_t y = 0; y < layout_.height; ++y) {
            const WICRect place{0, static_cast<INT>(y), static_cast<INT>(layout_.width), 1};
            com::check(frame->CopyPixels(&place, length, length, row.data()));
            std::uint8_t* to = bytes() + layout_.rowAt(y);
            if (inks()) {
                mixInks(row, to);
            } else {
                std::copy(row.begin(), row.end(), to);
            }
        }
    }

    // The component returns the inks uninverted, however the file stores them.
    static void mixInks(const std::vector<std::uint8_t>& row, std::uint8_t* bgr) noexcept
    {
        for (const std::uint8_t* ink = row.data(); ink != row.data() + row.size(); ink += 4, bgr += 3)
            for (int c = 0; c < 3; ++c) bgr[2 - c] = static_cast<std::uint8_t>((255 - ink[c]) * (255 - ink[3]) / 255);
    }

    JpegOutline outline_;
    BitmapLayout layout_;
    std::u16string bitmap_;
};

void setOption(IPropertyBag2* options, const wchar_t* name, const VARIANT& value)
{
    PROPBAG2 option{};
    option.pstrName = const_cast<wchar_t*>(name);
    com::check(options->Write(1, &option, const_cast<VARIANT*>(&value)));
}

// Best quality, full colour resolution.
void setQuality(IPropertyBag2* options)
{
    com::Variant quality, sampling;
    quality.vt = VT_R4;
    quality.fltVal = 1.0f;
    setOption(options, L"ImageQuality", quality);
    sampling.vt = VT_UI1;
    sampling.bVal = WICJpegYCrCbSubsampling444;
    setOption(options, L"JpegYCrCbSubsampling", sampling);
}

class Encoder {
public:
    Encoder(Bytes bitmap, const BitmapLayout& layout) : bitmap_(bitmap), layout_(layout), grey_(isGrey(bitmap, layout)) {}

    void run(const std::filesystem::path& file)
    {
        com::Ptr<IWICStream> stream;
        com::Ptr<IWICBitmapFrameEncode> frame;
        com::Ptr<IPropertyBag2> options;
        com::check(imaging()->CreateStream(stream.put()));
        com::check(stream->InitializeFromFilename(file.c_str(), GENERIC_WRITE));
        const auto encoder = createCodec<IWICBitmapEncoder>(CLSID_WICJpegEncoder);
        com::check(encoder->Initialize(stream.get(), WICBitmapEncoderNoCache));
        com::check(encoder->CreateNewFrame(frame.put(), options.put()));
        setQuality(options.get());
        com::check(frame->Initialize(options.get()));
        writeRows(frame.get());
        com::check(frame->Commit());
        com::check(encoder->Commit());
    }

private:
    void writeRows(IWICBitmapFrameEncode* frame)
    {
        const WICPixelFormatGUID wanted = grey_ ? GUID_WICPixelFormat8bppGray : GUID_WICPixelFormat24bppBGR;
        WICPixelFormatGUID format = wanted;
        com::check(frame->SetSize(layout_.width, layout_.height));
        com::check(frame->SetPixelFormat(&format));
        if (format != wanted) throw com::Error(E_FAIL);
        std::vector<std::uint8_t> row(std::size_t{3} * layout_.width);
        const UINT length = layout_.width * (grey_ ? 1u : 3u);
        for (std::size_t y = 0; y < layout_.height; ++y) {
            readRow(bitmap_, layout_, y, row.data());
            if (grey_)
                for (std::size_t x = 0; x < layout_.width; ++x) row[x] = row[3 * x];
            com::check(frame->WritePixels(1, length, length, row.data()));
        }
    }

    Bytes bitmap_;
    BitmapLayout layout_;
    bool grey_;
};

} // namespace

std::u16string loadJpeg(const std::filesystem::path& file)
{
    std::error_code error;
    std::string bytes = readFile(file, error, maxBitmapBytes);
    if (error) return {};
    const auto outline = outlineOf(bytesOf(bytes));
    return outline && outline->scans <= mostScans ? Decoder(*outline).run(bytes) : std::u16string();
}

bool saveJpeg(Bytes bitmap, const BitmapLayout& layout, const std::filesystem::path& file)
{
    Encoder(bitmap, layout).run(file);
    return true;
}

} // namespace platform
