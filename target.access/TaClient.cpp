#include "target.access/TaClient.h"

#include "target.access/Uuid.h"

namespace quorl {

TargetConfig_TaProcessClient::TargetConfig_TaProcessClient() {
    id = generateUuid();
}

bool TargetConfig_TaProcessClient::notify(uint32_t a, uint32_t b, uint32_t c) {
    first = a;
    second = b;
    third = c;
    return true;
}

}  // namespace quorl
