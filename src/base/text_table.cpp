#include "base/text_table.h"

namespace nimbara_i18n {

const std::vector<TextPair> &textPairs()
{
    static const std::vector<TextPair> all = [] {
        std::vector<TextPair> joined;
        for (const std::span<const TextPair> more : { generalTextPairs(),
                 serviceTextPairs(),
                 outputsTextPairs(),
                 sermonTextPairs(),
                 cameraTextPairs(),
                 checkTextPairs(),
                 verseTextPairs(),
                 deskTextPairs(),
                 transitionTextPairs(),
                 bibleTextPairs(),
                 startTextPairs() }) {
            joined.insert(joined.end(), more.begin(), more.end());
        }
        return joined;
    }();
    return all;
}

} // namespace nimbara_i18n
