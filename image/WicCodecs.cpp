// JPEG, PNG and TIFF through the Windows Imaging Component. COM is set up for
// the length of one call and torn down again, unless the host had already
// set it up in another apartment model, which is then used as it stands.
#include "ImageCodecs.h"

#define WIN32_LEAN_AND_MEAN
#include <windows.h>
#include <objbase.h>
#include <wincodec.h>

#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <utility>

namespace KelpImageCodec {

namespace {
// Releases a COM interface pointer at the end of its scope.
template <typename T>
class ComPtr {
public:
    ComPtr() = default;
    ComPtr(const ComPtr&) = delete;
    ComPtr& operator=(const ComPtr&) = delete;
    ~ComPtr() {
        if (pointer_) pointer_->Release();
    }
    T* get() const { return pointer_; }
    T* operator->() const { return pointer_; }
    T** out() { return &pointer_; }
    explicit operator bool() const { return pointer_ != nullptr; }

private:
    T* pointer_ = nullptr;
};

class ComSession {
public:
    ComSession() {
        const HRESULT result = CoInitializeEx(nullptr, COINIT_MULTITHREADED);
        owned_ = SUCCEEDED(result);                  // S_OK and S_FALSE are both balanced
        usable_ = owned_ || result == RPC_E_CHANGED_MODE;  // the host's apartment
    }
    ~ComSession() {
        if (owned_) CoUninitialize();
    }
    ComSession(const ComSession&) = delete;
    ComSession& operator=(const ComSession&) = delete;
    bool usable() const { return usable_; }

private:
    bool owned_ = false;
    bool usable_ = false;
};

// Paths are narrow strings in the process code page.
std::wstring widePath(const char* path) {
    const int length = MultiByteToWideChar(CP_ACP, 0, path, -1, nullptr, 0);
    if (length <= 0) return std::wstring();
    std::wstring wide(static_cast<std::size_t>(length), L'\0');
    if (MultiByteToWideChar(CP_ACP, 0, path, -1, wide.data(), length) != length) return std::wstring();
    wide.resize(static_cast<std::size_t>(length - 1));
    return wide;
}

bool makeFactory(ComPtr<IWICImagingFactory>& factory) {
    return SUCCEEDED(CoCreateInstance(CLSID_WICImagingFactory, nullptr, CLSCTX_INPROC_SERVER,
                                      IID_IWICImagingFactory, reinterpret_cast<void**>(factory.out())));
}

// Red and blue trade places: WIC's codecs all take and give the BGR orders,
// while the RGB ones are not supported by every encoder (nor by Wine's).
void swapRedBlue(unsigned char* pixels, std::size_t bytes, unsigned channels) {
    if (channels < 3) return;
    for (std::size_t at = 0; at + 2 < bytes; at += channels) std::swap(pixels[at], pixels[at + 2]);
}

// Gray stays gray, anything with transparency becomes BGRA, the rest BGR.
unsigned channelsFor(IWICImagingFactory* factory, const WICPixelFormatGUID& source, WICPixelFormatGUID& target) {
    if (IsEqualGUID(source, GUID_WICPixelFormat8bppGray) || IsEqualGUID(source, GUID_WICPixelFormat16bppGray) ||
        IsEqualGUID(source, GUID_WICPixelFormatBlackWhite) || IsEqualGUID(source, GUID_WICPixelFormat2bppGray) ||
        IsEqualGUID(source, GUID_WICPixelFormat4bppGray)) {
        target = GUID_WICPixelFormat8bppGray;
        return 1;
    }
    BOOL transparent = FALSE;
    ComPtr<IWICComponentInfo> component;
    if (SUCCEEDED(factory->CreateComponentInfo(source, component.out()))) {
        ComPtr<IWICPixelFormatInfo2> format;
        if (SUCCEEDED(component->QueryInterface(IID_IWICPixelFormatInfo2, reinterpret_cast<void**>(format.out()))))
            format->SupportsTransparency(&transparent);
    }
    target = transparent ? GUID_WICPixelFormat32bppBGRA : GUID_WICPixelFormat24bppBGR;
    return transparent ? 4 : 3;
}

bool decode(IWICImagingFactory* factory, const std::wstring& path, Image& image) {
    ComPtr<IWICBitmapDecoder> decoder;
    if (FAILED(factory->CreateDecoderFromFilename(path.c_str(), nullptr, GENERIC_READ,
                                                  WICDecodeMetadataCacheOnDemand, decoder.out())))
        return false;
    ComPtr<IWICBitmapFrameDecode> frame;
    if (FAILED(decoder->GetFrame(0, frame.out()))) return false;
    UINT width = 0, height = 0;
    WICPixelFormatGUID source{};
    if (FAILED(frame->GetSize(&width, &height)) || FAILED(frame->GetPixelFormat(&source))) return false;
    WICPixelFormatGUID target{};
    const unsigned channels = channelsFor(factory, source, target);
    const std::size_t bytes = pixelBytes(width, height, channels);
    if (bytes == 0) return false;
    ComPtr<IWICFormatConverter> converter;
    if (FAILED(factory->CreateFormatConverter(converter.out())) ||
        FAILED(converter->Initialize(frame.get(), target, WICBitmapDitherTypeNone, nullptr, 0.0,
                                     WICBitmapPaletteTypeCustom)))
        return false;
    unsigned char* pixels = new (std::nothrow) unsigned char[bytes];
    if (!pixels) return false;
    if (FAILED(converter->CopyPixels(nullptr, width * channels, static_cast<UINT>(bytes), pixels))) {
        delete[] pixels;
        return false;
    }
    swapRedBlue(pixels, bytes, channels);
    image.data = pixels;
    image.width = width;
    image.height = height;
    image.channels = channels;
    return true;
}

bool read(const char* path, Image& image) {
    const std::wstring wide = widePath(path);
    if (wide.empty()) return false;
    ComSession com;
    if (!com.usable()) return false;
    ComPtr<IWICImagingFactory> factory;
    return makeFactory(factory) && decode(factory.get(), wide, image);
}

bool encode(IWICImagingFactory* factory, const std::wstring& path, const GUID& container, const Image& image,
            float quality) {
    const std::size_t bytes = pixelBytes(image.width, image.height, image.channels);
    if (bytes == 0) return false;
    const WICPixelFormatGUID& layout = image.channels == 1   ? GUID_WICPixelFormat8bppGray
                                       : image.channels == 3 ? GUID_WICPixelFormat24bppBGR
                                                             : GUID_WICPixelFormat32bppBGRA;
    std::unique_ptr<unsigned char[]> ordered(new (std::nothrow) unsigned char[bytes]);
    if (!ordered) return false;
    std::memcpy(ordered.get(), image.data, bytes);
    swapRedBlue(ordered.get(), bytes, image.channels);
    ComPtr<IWICBitmap> bitmap;
    if (FAILED(factory->CreateBitmapFromMemory(image.width, image.height, layout, image.width * image.channels,
                                               static_cast<UINT>(bytes), ordered.get(), bitmap.out())))
        return false;
    ComPtr<IWICStream> stream;
    if (FAILED(factory->CreateStream(stream.out())) ||
        FAILED(stream->InitializeFromFilename(path.c_str(), GENERIC_WRITE)))
        return false;
    ComPtr<IWICBitmapEncoder> encoder;
    if (FAILED(factory->CreateEncoder(container, nullptr, encoder.out())) ||
        FAILED(encoder->Initialize(stream.get(), WICBitmapEncoderNoCache)))
        return false;
    ComPtr<IWICBitmapFrameEncode> frame;
    ComPtr<IPropertyBag2> options;
    if (FAILED(encoder->CreateNewFrame(frame.out(), options.out()))) return false;
    if (quality > 0.0f && options) {
        PROPBAG2 option{};
        option.pstrName = const_cast<LPOLESTR>(L"ImageQuality");
        VARIANT value;
        VariantInit(&value);
        value.vt = VT_R4;
        value.fltVal = quality;
        options->Write(1, &option, &value);
    }
    if (FAILED(frame->Initialize(options.get())) || FAILED(frame->SetSize(image.width, image.height))) return false;
    WICPixelFormatGUID wanted = layout;
    if (FAILED(frame->SetPixelFormat(&wanted))) return false;
    return SUCCEEDED(frame->WriteSource(bitmap.get(), nullptr)) && SUCCEEDED(frame->Commit()) &&
           SUCCEEDED(encoder->Commit());
}

bool write(const char* path, const GUID& container, const Image& image, float quality) {
    const std::wstring wide = widePath(path);
    if (wide.empty() || !image.data) return false;
    ComSession com;
    if (!com.usable()) return false;
    ComPtr<IWICImagingFactory> factory;
    return makeFactory(factory) && encode(factory.get(), wide, container, image, quality);
}
}  // namespace

bool readJpeg(const char* path, Image& image) { return read(path, image); }
bool writeJpeg(const char* path, const Image& image, int quality) {
    return write(path, GUID_ContainerFormatJpeg, image, static_cast<float>(quality) / 100.0f);
}

bool readPng(const char* path, Image& image) { return read(path, image); }
bool writePng(const char* path, const Image& image) { return write(path, GUID_ContainerFormatPng, image, 0.0f); }

bool readTiff(const char* path, Image& image) { return read(path, image); }
bool writeTiff(const char* path, const Image& image) { return write(path, GUID_ContainerFormatTiff, image, 0.0f); }

}  // namespace KelpImageCodec
