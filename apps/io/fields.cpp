// Fields and frames, as sources over other sources. The rows themselves are moved by the library.
#include "apps/io/fields.h"

#include <algorithm>
#include <array>
#include <limits>
#include <utility>

#include "apps/io/file_movie.h"
#include "pzel/component/group.h"
#include "pzel/display/fields.h"
#include "pzel/image/lifecycle.h"

namespace pzel_io {

namespace {

std::string ShapeText(const PictureInfo& info) {
    return std::to_string(info.width) + " x " + std::to_string(info.height) + " " + TypeName(info.type) +
           " x " + std::to_string(info.channels) + " " + ModelName(info.model) + ", " +
           std::to_string(info.frames) + (info.frames == 1 ? " frame" : " frames");
}

bool AreFields(const PictureInfo& even, const PictureInfo& odd) {
    const int more = even.height - odd.height;
    return even.width == odd.width && (more == 0 || more == 1) && even.type == odd.type &&
           even.channels == odd.channels && even.model == odd.model && even.frames == odd.frames &&
           even.lowIsWhite == odd.lowIsWhite;
}

// A component's record takes over an image.
void Put(Comp& comp, OwnedImage image) {
    CleanupImage(comp.GetCurrentImage());
    TransferImage(comp.GetCurrentImage(), image.get());
}

class WovenSource final : public PictureSource {
  public:
    WovenSource(std::unique_ptr<PictureSource> evenRows, std::unique_ptr<PictureSource> oddRows)
        : even(std::move(evenRows)), odd(std::move(oddRows)), movie(new Movie) {
        const PictureInfo& rows = odd->Info();
        info = even->Info();
        if (!AreFields(info, rows)) {
            throw FileError(rows.file, ShapeText(rows) + ": does not fit the even field " +
                                           info.file.string() + " of " + ShapeText(info));
        }
        info.height += rows.height;
        if (info.height > std::numeric_limits<std::uint16_t>::max())
            Fail("the frame of both fields would have " + std::to_string(info.height) +
                 " rows: a record holds at most 65535");
        for (const std::string& line : rows.conversions) Note(line);
        Note("even rows, woven with " + rows.file.string());
        std::array<std::unique_ptr<Comp, Releaser>, 2> fields;
        std::array<Comp*, 2> both{};
        for (std::size_t i = 0; i < fields.size(); ++i) {
            fields[i].reset(AllocComp(1));
            both[i] = fields[i].get();
        }
        AddComponentGroup(movie.get(), both.data(), static_cast<int>(both.size()));
        const std::unique_ptr<Comp, Releaser> frame(AllocComp(1));
        AppendComponent(movie.get(), frame.get());
    }

    Frame Read(std::uint32_t number, Layout layout) override {
        Comp** const comps = movie->GetChildren();
        Comp *const evenRows = comps[0], *const oddRows = comps[1], *const frame = comps[2];
        Frame evenField = even->Read(number, layout);
        Frame oddField = odd->Read(number, layout);
        Put(*evenRows, std::move(evenField.image));
        Put(*oddRows, std::move(oddField.image));
        const Image& rows = *evenRows->GetCurrentImage();
        Put(*frame, OwnedImage(NewImage(rows.width, static_cast<unsigned short>(info.height), rows.channels,
                                        GetDataType(&rows), IsInterleaved(&rows))));
        SetImageType(frame->GetCurrentImage(), GetImageType(&rows));
        FieldsToFrame(evenRows, oddRows, frame);
        OwnedImage woven(AllocImage());
        TransferImage(woven.get(), frame->GetCurrentImage());
        std::vector<std::string> notes = std::move(evenField.notes);
        notes.insert(notes.end(), oddField.notes.begin(), oddField.notes.end());
        return {std::move(woven), evenField.window, std::move(notes)};
    }

    void Expect(std::uint32_t number) override {
        even->Expect(number);
        odd->Expect(number);
    }

  private:
    void Note(const std::string& line) {
        auto& notes = info.conversions;
        if (std::find(notes.begin(), notes.end(), line) == notes.end()) notes.push_back(line);
    }

    std::unique_ptr<PictureSource> even;
    std::unique_ptr<PictureSource> odd;
    std::unique_ptr<Movie, Releaser> movie;  // the two fields and their frame
};

class FieldSource final : public PictureSource {
  public:
    FieldSource(std::unique_ptr<PictureSource> framesOf, Field which)
        : frames(std::move(framesOf)), field(which), comp(AllocComp(1)) {
        info = frames->Info();
        if (field == Field::Odd && info.height < 2) Fail("a picture of one row has no odd field");
        info.conversions.push_back(field == Field::Even ? "even field alone" : "odd field alone");
    }

    void Expect(std::uint32_t number) override { frames->Expect(number); }

    Frame Read(std::uint32_t number, Layout layout) override {
        Frame whole = frames->Read(number, layout);
        Put(*comp, std::move(whole.image));
        OwnedImage taken(AllocImage());
        const bool even = field == Field::Even;
        SplitImage(comp.get(), even ? taken.get() : nullptr, even ? nullptr : taken.get(), SplitFullHeight,
                   nullptr);
        return {std::move(taken), whole.window, std::move(whole.notes)};
    }

  private:
    std::unique_ptr<PictureSource> frames;
    Field field;
    std::unique_ptr<Comp, Releaser> comp;
};

}  // namespace

std::unique_ptr<PictureSource> WeaveFields(std::unique_ptr<PictureSource> even,
                                           std::unique_ptr<PictureSource> odd) {
    return std::make_unique<WovenSource>(std::move(even), std::move(odd));
}

std::unique_ptr<PictureSource> TakeField(std::unique_ptr<PictureSource> frames, Field field) {
    return std::make_unique<FieldSource>(std::move(frames), field);
}

}  // namespace pzel_io
