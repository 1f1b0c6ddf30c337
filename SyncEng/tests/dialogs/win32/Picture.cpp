#include "Picture.h"

#include "apartment.h"
#include <chrono>
#include <filesystem>
#include <thread>
#include <vector>
#include <wincodec.h>

namespace mbtest {
namespace {

// The pixels of a window, top row first, three bytes for each pixel.
struct Points {
    UINT width = 0, height = 0;
    std::vector<BYTE> bytes;
    [[nodiscard]] UINT rowBytes() const noexcept { return (width * 3 + 3) / 4 * 4; }
};

Points pointsOf(HWND window)
{
    RECT frame{};
    GetWindowRect(window, &frame);
    Points points{static_cast<UINT>(frame.right - frame.left), static_cast<UINT>(frame.bottom - frame.top), {}};
    const int width = static_cast<int>(points.width), height = static_cast<int>(points.height);
    HDC source = GetWindowDC(window), memory = CreateCompatibleDC(source);
    SetLayout(source, 0); // do not mirror a right-to-left window
    BITMAPINFO info{};
    info.bmiHeader = {sizeof info.bmiHeader, width, -height, 1, 24, BI_RGB, 0, 0, 0, 0, 0};
    void* bits = nullptr;
    HBITMAP bitmap = CreateDIBSection(source, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
    HGDIOBJ former = SelectObject(memory, bitmap);
    BitBlt(memory, 0, 0, width, height, source, 0, 0, SRCCOPY);
    GdiFlush();
    const auto* first = static_cast<const BYTE*>(bits);
    points.bytes.assign(first, first + std::size_t{points.rowBytes()} * points.height);
    SelectObject(memory, former);
    DeleteObject(bitmap);
    DeleteDC(memory);
    ReleaseDC(window, source);
    return points;
}

// Creates the encoder by its class, because the tests hide the registry's list of encoders.
void writePng(Points points, const std::filesystem::path& file)
{
    com::Ptr<IWICImagingFactory> factory;
    com::check(CoCreateInstance(CLSID_WICImagingFactory, nullptr, CLSCTX_INPROC_SERVER, IID_IWICImagingFactory, factory.putVoid()));
    com::Ptr<IWICBitmapEncoder> encoder;
    com::check(CoCreateInstance(CLSID_WICPngEncoder, nullptr, CLSCTX_INPROC_SERVER, IID_IWICBitmapEncoder, encoder.putVoid()));
    com::Ptr<IWICStream> stream;
    com::check(factory->CreateStream(stream.put()));
    com::check(stream->InitializeFromFilename(file.c_str(), GENERIC_WRITE));
    com::check(encoder->Initialize(stream.get(), WICBitmapEncoderNoCache));
    com::Ptr<IWICBitmapFrameEncode> frame;
    com::Ptr<IPropertyBag2> options;
    com::check(encoder->CreateNewFrame(frame.put(), options.put()));
    com::check(frame->Initialize(options.get()));
    com::check(frame->SetSize(points.width, points.height));
    WICPixelFormatGUID format = GUID_WICPixelFormat24bppBGR;
    com::check(frame->SetPixelFormat(&format));
    com::check(frame->WritePixels(points.height, points.rowBytes(), static_cast<UINT>(points.bytes.size()), points.bytes.data()));
    com::check(frame->Commit());
    com::check(encoder->Commit());
}

} // namespace

void savePicture(HWND window, const std::string& name)
{
    RedrawWindow(window, nullptr, nullptr, RDW_UPDATENOW | RDW_ALLCHILDREN);
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    const std::filesystem::path folder = SCREENSHOT_FOLDER;
    std::filesystem::create_directories(folder);
    const platform::Apartment apartment; // WindowUser's thread has not entered the component runtime
    writePng(pointsOf(window), folder / (name + ".png"));
}

} // namespace mbtest
