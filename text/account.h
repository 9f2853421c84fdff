// Keeps the account of a conversion.
#pragma once

#include "buffer.h"
#include "zutext.h"

namespace zutext {

// Notes one loss with its place. The first places of each kind are kept, ordered by offset as they come.
void noteLoss(zutext_account &account, int32_t kind, uint64_t offset, Bytes bytes);

// In a text that is damaged all over counting stops; the counts then are lower bounds.
bool countedEnough(const zutext_account &account);

} // namespace zutext
