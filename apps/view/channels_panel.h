// Which channel of the active layer is shown, and in which colour model.
#pragma once

#include <QCheckBox>
#include <QLabel>
#include <QRadioButton>
#include <QWidget>
#include <vector>

#include "document.h"

namespace pzel_view {

class ChannelsPanel final : public QWidget {
    Q_OBJECT

  public:
    ChannelsPanel(Document& document, QWidget* parent);

  private:
    void ShowLayer();
    void Choose(Channel channel);

    struct Choice {
        Channel channel;
        QRadioButton* button;
    };

    Document& document;
    QLabel* nothing;
    std::vector<Choice> choices;
    QCheckBox* luminance;
};

}  // namespace pzel_view
