#include "account.h"

#include <algorithm>
#include <numeric>

namespace zutext {

namespace {

constexpr uint64_t kMostCounted = 100000;

} // namespace

void noteLoss(zutext_account &account, int32_t kind, uint64_t offset, Bytes bytes) {
    account.text_lost |= kind == ZUTEXT_MENDED_PAIR ? 0 : 1;
    if (++account.losses[kind] > ZUTEXT_PLACES_OF_A_KIND) {
        account.complete = countedEnough(account) ? 0 : account.complete;
        return;
    }
    zutext_place place = {};
    place.offset = offset;
    place.kind = kind;
    place.length = static_cast<uint32_t>(std::min(bytes.size(), sizeof place.bytes));
    std::copy_n(bytes.begin(), place.length, place.bytes);
    uint32_t at = account.place_count++;
    for (; at > 0 && account.places[at - 1].offset > offset; --at) {
        account.places[at] = account.places[at - 1];
    }
    account.places[at] = place;
}

bool countedEnough(const zutext_account &account) {
    return std::accumulate(std::begin(account.losses), std::end(account.losses), uint64_t{0}) >= kMostCounted;
}

} // namespace zutext
