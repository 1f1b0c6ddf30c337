// JPEG by the Windows Imaging Component.
#include "jpeg.h"

#include "com.h"
#include "image.h"
#include <vector>
#include <wincodec.h>

namespace platform {
namespace {

// No encoder packs more pixels into a byte of a file; a file that claims to is not worth the memory.
constexpr std::uint64_t mostPixelsPerByte = 4096;

com::Ptr<IWICImagingFactory> imaging()
{
    com::Ptr<IWICImagingFactory> factory;
    com::check(CoCreateInstance(CLSID_WICImagingFactory, nullptr, CLSCTX_INPROC_SERVER, __uuidof(IWICImagingFactory), factory.putVoid()));
    return factory;
}

bool isGreyFrame(IWICBitmapFrameDecode* frame)
{
    WICPixelFormatGUID format{};
    com::check(frame->GetPixelFormat(&format));
    return format == GUID_WICPixelFormat8bppGray;
}

// Rows come from the top and land from the bottom up, so each is copied to its own place.
std::u16string decode(const std::filesystem::path& file)
{
    const auto factory = imaging();
    com::Ptr<IWICBitmapDecoder> decoder;
    com::check(factory->CreateDecoderFromFilename(file.c_str(), nullptr, GENERIC_READ, WICDecodeMetadataCacheOnDemand, decoder.put()));
    com::Ptr<IWICBitmapFrameDecode> frame;
    com::check(decoder->GetFrame(0, frame.put()));
    UINT width = 0, height = 0;
    com::check(frame->GetSize(&width, &height));
    BitmapLayout layout;
    layout.width = width;
    layout.height = height;
    layout.bits = isGreyFrame(frame.get()) ? 8 : 24;
    if (!layout.isSane() || std::uint64_t{width} * height / mostPixelsPerByte > std::filesystem::file_size(file)) return {};

    com::Ptr<IWICFormatConverter> converter;
    com::check(factory->CreateFormatConverter(converter.put()));
    com::check(converter->Initialize(frame.get(), layout.bits == 8 ? GUID_WICPixelFormat8bppGray : GUID_WICPixelFormat24bppBGR,
                                     WICBitmapDitherTypeNone, nullptr, 0, WICBitmapPaletteTypeCustom));
    std::u16string bitmap = makeBitmap(layout);
    auto* bytes = reinterpret_cast<std::uint8_t*>(bitmap.data());
    for (std::size_t i = 0; i < layout.colours(); ++i) std::fill_n(bytes + bitmapHeaderSize + 4 * i, 3, static_cast<std::uint8_t>(i));
    for (UINT y = 0; y < height; ++y) {
        const WICRect row{0, static_cast<INT>(y), static_cast<INT>(width), 1};
        const UINT length = static_cast<UINT>(layout.rowBytes());
        com::check(converter->CopyPixels(&row, length, length, bytes + layout.rowAt(y)));
    }
    return bitmap;
}

void setBestQuality(IPropertyBag2* options)
{
    wchar_t name[] = L"ImageQuality";
    PROPBAG2 option{};
    option.pstrName = name;
    VARIANT quality;
    VariantInit(&quality);
    quality.vt = VT_R4;
    quality.fltVal = 1.0f;
    com::check(options->Write(1, &option, &quality));
}

void encode(Bytes bitmap, const BitmapLayout& layout, const std::filesystem::path& file)
{
    const auto factory = imaging();
    com::Ptr<IWICStream> stream;
    com::check(factory->CreateStream(stream.put()));
    com::check(stream->InitializeFromFilename(file.c_str(), GENERIC_WRITE));
    com::Ptr<IWICBitmapEncoder> encoder;
    com::check(factory->CreateEncoder(GUID_ContainerFormatJpeg, nullptr, encoder.put()));
    com::check(encoder->Initialize(stream.get(), WICBitmapEncoderNoCache));
    com::Ptr<IWICBitmapFrameEncode> frame;
    com::Ptr<IPropertyBag2> options;
    com::check(encoder->CreateNewFrame(frame.put(), options.put()));
    setBestQuality(options.get());
    com::check(frame->Initialize(options.get()));
    com::check(frame->SetSize(layout.width, layout.height));
    WICPixelFormatGUID format = GUID_WICPixelFormat24bppBGR;
    com::check(frame->SetPixelFormat(&format));
    if (format != GUID_WICPixelFormat24bppBGR) throw com::Error(E_FAIL);
    std::vector<std::uint8_t> row(std::size_t{3} * layout.width);
    for (std::size_t y = 0; y < layout.height; ++y) {
        readRow(bitmap, layout, y, row.data());
        const UINT length = static_cast<UINT>(row.size());
        com::check(frame->WritePixels(1, length, length, row.data()));
    }
    com::check(frame->Commit());
    com::check(encoder->Commit());
}

} // namespace

std::u16string loadJpeg(const std::filesystem::path& file) { return decode(file); }

bool saveJpeg(Bytes bitmap, const BitmapLayout& layout, const std::filesystem::path& file)
{
    encode(bitmap, layout, file);
    return true;
}

} // namespace platform
