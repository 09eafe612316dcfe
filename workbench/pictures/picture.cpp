// The host's pictures: construction, pixel access and description.
// Called by the host, its services and tests; holds locks on nothing.
#include "workbench/pictures/picture.h"

#include <algorithm>
#include <limits>
#include <new>
#include <stdexcept>
#include <string>
#include <utility>

#include "workbench/host/host.h"
#include "workbench/pictures/bitmap.h"
#include "workbench/pictures/console_image.h"

namespace workbench {

namespace {

constexpr std::size_t bytesPerPixel = sizeof(std::uint32_t);

void RequireSense(bool sense, const std::string& complaint) {
    if (!sense) throw std::invalid_argument(complaint);
}

REALdescriptionKind MemoryKind(const PictureOptions& options, const HostSettings& settings) {
    if (options.palette) return REALdescriptionKind::ConsoleImage;
    const auto kindOfRuntime = settings.runtime == Runtime::Console
                                   ? REALdescriptionKind::ConsoleImage
                                   : REALdescriptionKind::BitmapContext;
    return options.memory.value_or(kindOfRuntime);
}

int BitmapLayout(const PictureOptions& options, const HostSettings& settings) {
    const int layout = options.layout.value_or(settings.layout);
    RequireSense(layout >= 1 && layout <= 6,
                 "a bitmap context has no layout " + std::to_string(layout));
    // Explicit layouts are kept, so that tests can have alpha channels that the interface forbids.
    if (!options.alphaChannel || options.layout) return layout;
    return layout % 2 == 0 ? 2 : 1;
}

std::shared_ptr<PixelMemory> NewMemory(const PictureOptions& options, const HostSettings& settings,
                                       bool console) {
    MemoryShape shape;
    shape.rowBytes = static_cast<std::size_t>(options.width) * bytesPerPixel;
    shape.height = static_cast<std::size_t>(options.height);
    shape.padding = console ? 0 : options.rowPadding.value_or(settings.rowPadding);
    shape.separateRows = console;
    shape.guarded = settings.guardPages;
    RequireSense(shape.padding % bytesPerPixel == 0, "row padding is a multiple of 4 bytes");
    if ((shape.rowBytes + shape.padding) > settings.maximumPictureBytes / shape.height) {
        throw std::bad_alloc();
    }
    return MakePixelMemory(shape);
}

std::unique_ptr<PixelStore> NewPixels(const Picture& owner, const PictureOptions& options,
                                      const HostSettings& settings) {
    if (options.palette) return std::make_unique<PaletteImage>(options.width, options.height);
    const bool console = MemoryKind(options, settings) == REALdescriptionKind::ConsoleImage;
    auto memory = NewMemory(options, settings, console);
    if (console) {
        return std::make_unique<ConsoleImage>(options.width, options.height, std::move(memory), 0,
                                              0);
    }
    return std::make_unique<Bitmap>(owner, options.width, options.height,
                                    BitmapLayout(options, settings), std::move(memory), 0, 0);
}

}  // namespace

Picture::Picture() = default;
Picture::~Picture() = default;

void Picture::Construct(const PictureOptions& options, const HostSettings& settings) {
    RequireSense(options.width >= 1 && options.height >= 1,
                 "a picture of " + std::to_string(options.width) + " by " +
                     std::to_string(options.height) + " pixels");
    auto pixels = options.shares ? options.shares->owner->ShareWindow(*this, options)
                                 : NewPixels(*this, options, settings);
    if (BitmapContext* context = pixels->Context(); context != nullptr) {
        context->bitsPerPixel = options.bitsPerPixel.value_or(context->bitsPerPixel);
        context->alphaInfo = options.alphaInfo.value_or(context->alphaInfo);
    }
    pixels_ = std::move(pixels);
    hasAlphaChannel_ = options.alphaChannel;
    typeCode = options.typeCode;
    refusesLocks = options.refusesLocks;
    if (options.unfilled || (options.shares && !options.fill)) return;
    Fill(options.fill.value_or(hasAlphaChannel_ ? transparent : white));
}

void Picture::Adopt(OwnedImage image, bool alphaChannel) {
    RequireSense(image != nullptr && gdImageTrueColor(image) != 0,
                 "only a truecolor image can become a picture");
    const int width = image->sx;
    const int height = image->sy;
    pixels_ =
        std::make_unique<ConsoleImage>(width, height, MakePixelMemory(std::move(image)), 0, 0);
    hasAlphaChannel_ = alphaChannel;
}

std::unique_ptr<PixelStore> Picture::ShareWindow(const Picture& borrower,
                                                 const PictureOptions& options) const {
    const SharedPixels& window = *options.shares;
    RequireSense(pixels_ != nullptr && pixels_->Memory() != nullptr,
                 "only a picture with pixel words can share them");
    RequireSense(window.column >= 0 && window.row >= 0 &&
                     options.width <= Width() - window.column &&
                     options.height <= Height() - window.row,
                 "shared pixels must lie within their owner");
    if (IsConsoleImage()) {
        return std::make_unique<ConsoleImage>(options.width, options.height, pixels_->Memory(),
                                              window.column, window.row);
    }
    return std::make_unique<Bitmap>(borrower, options.width, options.height, Layout(),
                                    pixels_->Memory(), window.column, window.row);
}

int Picture::Width() const {
    return pixels_ == nullptr ? 0 : pixels_->Width();
}

int Picture::Height() const {
    return pixels_ == nullptr ? 0 : pixels_->Height();
}

int Picture::Layout() const {
    return pixels_ == nullptr ? 0 : pixels_->Layout();
}

bool Picture::IsConsoleImage() const {
    return pixels_ != nullptr && pixels_->Kind() == REALdescriptionKind::ConsoleImage;
}

bool Picture::IsPalette() const {
    return IsConsoleImage() && pixels_->Memory() == nullptr;
}

std::span<std::uint32_t> Picture::Row(int y) {
    if (y < 0 || y >= Height()) throw std::out_of_range("no row " + std::to_string(y));
    std::uint32_t* row = pixels_->Row(y);
    if (row == nullptr) return {};
    return {row, static_cast<std::size_t>(Width())};
}

std::span<const std::uint32_t> Picture::Row(int y) const {
    return const_cast<Picture*>(this)->Row(y);
}

std::uint32_t Picture::Word(int x, int y) const {
    const auto row = Row(y);
    if (x < 0 || static_cast<std::size_t>(x) >= row.size()) {
        throw std::out_of_range("no column " + std::to_string(x));
    }
    return row[static_cast<std::size_t>(x)];
}

void Picture::SetWord(int x, int y, std::uint32_t word) {
    const auto row = Row(y);
    if (x < 0 || static_cast<std::size_t>(x) >= row.size()) {
        throw std::out_of_range("no column " + std::to_string(x));
    }
    row[static_cast<std::size_t>(x)] = word;
}

Color Picture::At(int x, int y) const {
    if (!IsPalette()) return DecodePixel(Word(x, y), Layout());
    auto* image = static_cast<gdImage*>(GdImage());
    const int word = gdImageGetTrueColorPixel(image, x, y);
    return DecodePixel(static_cast<std::uint32_t>(word), consoleLayout);
}

void Picture::Put(int x, int y, Color color) {
    if (!IsPalette()) {
        SetWord(x, y, EncodePixel(color, Layout()));
        return;
    }
    auto* image = static_cast<gdImage*>(GdImage());
    gdImageSetPixel(image, x, y, gdImageColorResolve(image, color.red, color.green, color.blue));
}

void Picture::ReadRow(int y, std::span<Color> colors) const {
    if (colors.size() < static_cast<std::size_t>(Width())) {
        throw std::out_of_range("too little room for a row");
    }
    if (IsPalette()) {
        for (int x = 0; x < Width(); ++x)
            colors[static_cast<std::size_t>(x)] = At(x, y);
        return;
    }
    const auto row = Row(y);
    std::transform(row.begin(), row.end(), colors.begin(),
                   [layout = Layout()](std::uint32_t word) { return DecodePixel(word, layout); });
}

void Picture::WriteRow(int y, std::span<const Color> colors) {
    if (colors.size() < static_cast<std::size_t>(Width())) {
        throw std::out_of_range("too few colours for a row");
    }
    if (IsPalette()) {
        for (int x = 0; x < Width(); ++x)
            Put(x, y, colors[static_cast<std::size_t>(x)]);
        return;
    }
    const auto row = Row(y);
    std::transform(colors.begin(), colors.begin() + Width(), row.begin(),
                   [layout = Layout()](Color color) { return EncodePixel(color, layout); });
}

void Picture::Fill(Color color) {
    if (IsPalette()) {
        auto* image = static_cast<gdImage*>(GdImage());
        gdImageFilledRectangle(image, 0, 0, Width() - 1, Height() - 1,
                               gdImageColorResolve(image, color.red, color.green, color.blue));
        return;
    }
    for (int y = 0; y < Height(); ++y) {
        const auto row = Row(y);
        std::fill(row.begin(), row.end(), EncodePixel(color, Layout()));
    }
}

bool Picture::PaddingIsIntact() const {
    return pixels_ == nullptr || pixels_->Memory() == nullptr ||
           pixels_->Memory()->PaddingIsIntact();
}

int Picture::Locks() const {
    const Host* host = Host::Current();
    return host == nullptr ? 0 : host->Books().Locks(Address());
}

BitmapContext* Picture::Context() {
    return pixels_ == nullptr ? nullptr : pixels_->Context();
}

void* Picture::GdImage() const {
    return IsConsoleImage() ? pixels_->DescribedHandle() : nullptr;
}

bool Picture::Describe(REALinteger kind, REALpictureDescription& description) {
    if (pixels_ == nullptr || refusesLocks) return false;
    if (kind != static_cast<REALinteger>(pixels_->Kind())) return false;
    description = {};
    description.kind = pixels_->Kind();
    description.handle = pixels_->DescribedHandle();
    description.width = Width();
    description.height = Height();
    if (alterDescription) alterDescription(description);
    return true;
}

bool Picture::SharesMemoryWith(const Picture& other) const {
    if (this == &other) return true;
    return pixels_ != nullptr && other.pixels_ != nullptr && pixels_->Memory() != nullptr &&
           pixels_->Memory() == other.pixels_->Memory();
}

}  // namespace workbench
