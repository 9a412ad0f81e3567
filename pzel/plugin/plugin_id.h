// Which plug-in, and which variant of it: three numbers. What a plug-in can be set to stands in
// plugin_param.h, the job that it is handed in call_record.h.
#pragma once

#include "pzel/export.h"

namespace Zel {

/// Identity of a plug-in. A value.
class PZEL_API PluginID {
  public:
    /// All three numbers zero.
    PluginID() = default;
    PluginID(short id, short sub, short pattern) : mainID(id), subID(sub), patternID(pattern) {}

    void SetID(short id) { mainID = id; }
    short GetID() const { return mainID; }
    void SetSubID(short sub) { subID = sub; }
    /// Sets both; the id stays.
    void SetSubID(short sub, short pattern) {
        subID = sub;
        patternID = pattern;
    }
    short GetSubID() const { return subID; }
    void SetPatternID(short pattern) { patternID = pattern; }
    short GetPatternID() const { return patternID; }
    void SetIDs(short id, short sub, short pattern) { *this = PluginID(id, sub, pattern); }

    /// All three numbers are equal.
    bool operator==(const PluginID& other) const = default;
    /// The id alone equals the number.
    bool operator==(int id) const { return mainID == id; }
    /// Sub id and pattern id are equal; the id is not looked at (deliberate).
    bool HasSameID(short sub, short pattern) const { return subID == sub && patternID == pattern; }

  private:
    short mainID = 0;
    short subID = 0;
    short patternID = 0;
};

}  // namespace Zel
