// Makes pictures by their shapes.
#include "tests/fuzz/methods/scene.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "tests/support/pixels.h"
#include "workbench/pictures/color.h"

namespace fuzz {
namespace {

using contract::PictureOptions;

std::uint32_t WordOfBytes(const std::vector<std::uint8_t>& bytes, std::size_t index) {
    std::uint32_t word = 0;
    for (std::size_t i = 4 * index; i < 4 * index + 4; ++i)
        word = word << 8U | (bytes.empty() ? 0U : bytes[i % bytes.size()]);
    return word;
}

std::uint32_t WordAt(const Content& content, std::size_t column, std::size_t row,
                     std::size_t index) {
    const auto low = static_cast<std::uint32_t>(content.seed);
    const auto high = static_cast<std::uint32_t>(content.seed >> 32U);
    switch (content.kind) {
        case Content::Kind::Flat:
        case Content::Kind::Random:
            return low;
        case Content::Kind::TwoValued:
            return (column * (low % 7 + 1) + row * (high % 5 + 1)) % 2 == 0 ? low : high;
        case Content::Kind::Ramp:
            return low * static_cast<std::uint32_t>(column) +
                   high * static_cast<std::uint32_t>(row);
        case Content::Kind::Bytes:
            return WordOfBytes(content.bytes, index);
    }
    return 0;
}

void Fill(Picture& picture, const Content& content) {
    if (content.kind == Content::Kind::Random) {
        contract::Random random(content.seed);
        contract::FillRandomly(picture, random);
        return;
    }
    // A console picture's transparency has 7 bits.
    const std::uint32_t bits =
        picture.Layout() == workbench::consoleLayout ? 0x7FFFFFFFU : 0xFFFFFFFFU;
    std::size_t index = 0;
    for (int y = 0; y < picture.Height(); ++y) {
        std::size_t column = 0;
        for (std::uint32_t& word : picture.Row(y)) {
            word = WordAt(content, column++, static_cast<std::size_t>(y), index++) & bits;
        }
    }
}

PictureOptions OptionsFor(const Case& value, const PictureShape& shape) {
    PictureOptions options = contract::Sized(shape.size.width, shape.size.height);
    options.alphaChannel = shape.alphaChannel;
    options.layout = shape.layout;
    options.rowPadding = shape.rowPadding;
    if (value.host.runtime == workbench::Runtime::Console) {
        options.layout = std::nullopt;
        options.rowPadding = std::nullopt;
    }
    return options;
}

Held<Picture> MakePicture(Session& session, const Case& value, const PictureShape& shape) {
    Held<Picture> picture = session.Create(OptionsFor(value, shape));
    Fill(*picture, shape.content);
    return picture;
}

Held<Picture> MakeWindow(Session& session, const Picture& memory, Size corner, Size size) {
    PictureOptions options = contract::Sized(size.width, size.height);
    options.shares = workbench::SharedPixels{&memory, corner.width, corner.height};
    return session.Create(options);
}

// As large as the windows need.
Held<Picture> MakeMemory(Session& session, const Case& value) {
    PictureShape shape = value.receiver;
    shape.size = {1, 1};
    const auto cover = [&](Size corner, Size size) {
        shape.size.width = std::max(shape.size.width, corner.width + size.width);
        shape.size.height = std::max(shape.size.height, corner.height + size.height);
    };
    cover(value.windows[0], value.receiver.size);
    cover(value.windows[1], value.picture.size);
    if (value.mask && value.mask->isWindow) cover(value.windows[2], value.mask->shape.size);
    return MakePicture(session, value, shape);
}

}  // namespace

std::vector<Picture*> Scene::All() const {
    std::vector<Picture*> all;
    for (const Held<Picture>* each : {&memory, &receiver, &picture, &mask}) {
        if (*each) all.push_back(&**each);
    }
    return all;
}

void Scene::LetGo() {
    receiver.Reset();
    picture.Reset();
    mask.Reset();
}

Scene MakeScene(Session& session, const Case& value) {
    Scene scene;
    const bool isDrawing = value.method == Method::DrawPicture;
    if (value.sharing == Sharing::Windows) {
        scene.memory = MakeMemory(session, value);
        const auto window = [&](std::size_t index, Size size) {
            return MakeWindow(session, *scene.memory, value.windows.at(index), size);
        };
        scene.receiver = window(0, value.receiver.size);
        scene.picture = window(1, value.picture.size);
        if (value.mask && value.mask->isWindow) scene.mask = window(2, value.mask->shape.size);
    } else {
        scene.receiver = MakePicture(session, value, value.receiver);
        if (isDrawing && value.sharing == Sharing::None) {
            scene.picture = MakePicture(session, value, value.picture);
        }
    }
    scene.bystander = session.Create(3, 2);
    Picture& masked = isDrawing ? scene.Drawn() : *scene.receiver;
    if (value.mask && !masked.HasAlphaChannel()) {
        if (!scene.mask) scene.mask = MakePicture(session, value, value.mask->shape);
        session.host().SetMask(masked, &*scene.mask);
    }
    return scene;
}

void ChangePixels(const Scene& scene, std::uint64_t seed) {
    contract::Random random(seed);
    for (Picture* picture : scene.All())
        contract::FillRandomly(*picture, random);
}

}  // namespace fuzz
