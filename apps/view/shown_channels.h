// The channels of a layer as panels show them: what they are called, what their levels are levels of, and
// their histograms.
#pragma once

#include <QColor>
#include <QObject>
#include <QRect>
#include <QString>
#include <QTimer>
#include <vector>

#include "document.h"
#include "pzel/bounds/histogram.h"

namespace pzel_view {

/// What the levels of a layer are levels of.
enum class LevelKind {
    None,      ///< bits, masks, outlines, arrows
    Channels,  ///< one channel, or red, green and blue
    Yuv,       ///< luminance, and two differences whose levels are the same both ways from 0
    Joint      ///< intensity, saturation and hue
};
LevelKind LevelsOf(Document& document, Comp& comp);

/// A channel by its place in a user's order.
struct ShownChannel {
    QString name;
    QColor colour;  ///< to paint its values in; none: that of text
};
std::vector<ShownChannel> ChannelsOf(Document& document, Comp& comp);

/// Everything that the levels of a channel can be; nothing where there is no such range.
std::optional<pzel_io::Window> FullRangeOf(Document& document, Comp& comp, int channel);

/// The intensity, saturation or hue of a colour image, which levels of these speak of.
struct JointPlane {
    pzel_io::OwnedImage image;
    double offset;  ///< to take off its values for levels
};
JointPlane PlaneOf(const Image& colour, int channel);

/// The values that levels speak of, of a part of a layer's shown image, one histogram for each channel.
/// Counting goes on in small steps between other events, since pixels are the window's own.
class ChannelHistograms final : public QObject {
    Q_OBJECT

  public:
    explicit ChannelHistograms(Document& document, QObject* parent);

    /// Counts a layer anew, all of it or a rectangle of its own columns and rows.
    void Count(Comp& comp, const QRect& part = {});
    /// Forgets what there is and stops.
    void Clear();

    /// Empty until everything is counted. What to take off values for those of the picture is Offset.
    const std::vector<Histogram>& Get() const { return counted; }
    double Offset(int channel) const { return offsets[static_cast<std::size_t>(channel)]; }

  signals:
    void done();

  private:
    void Step();
    void AddRows(const Image& image, int first, int count);

    Document& document;
    QTimer timer;
    Comp* comp = nullptr;
    LevelKind kind = LevelKind::None;
    QRect part;
    int nextRow = 0;
    std::vector<Histogram> counting;
    std::vector<Histogram> counted;
    std::vector<double> offsets;
};

}  // namespace pzel_view
