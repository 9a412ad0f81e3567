// A sub type that is taken over for a while: it goes back where what follows throws. Internal.
#pragma once

#include "pzel/image/image.h"

namespace pzel {

class SubTypeChange {
  public:
    SubTypeChange(Image& changed, unsigned short subType) : image(changed), before(GetSubType(&changed)) {
        SetSubType(&image, subType);
    }
    ~SubTypeChange() {
        if (!kept) SetSubType(&image, before);
    }
    SubTypeChange(const SubTypeChange&) = delete;
    SubTypeChange& operator=(const SubTypeChange&) = delete;
    void keep() { kept = true; }

  private:
    Image& image;
    unsigned short before;
    bool kept = false;
};

}  // namespace pzel
