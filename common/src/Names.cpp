#include "common/src/Names.h"

namespace quorl {

const std::vector<VocabularyEntry>& vocabulary() {
#define RQ7_NAME_ROW(id, text) {#id, id},
    static const std::vector<VocabularyEntry> rows = {RQ7_VOCABULARY(RQ7_NAME_ROW)};
#undef RQ7_NAME_ROW
    return rows;
}

}  // namespace quorl
