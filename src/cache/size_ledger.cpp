#include "cache/size_ledger.h"

#include <cstdlib>

namespace cache {
namespace {

// The ledger's count; false when the text is not one (a new or damaged file).
bool parseTotal(const std::string& text, uint64_t& total) {
    if (text.empty() || text.back() != '\n') {
        return false;
    }
    char* end = nullptr;
    const unsigned long long value = std::strtoull(text.c_str(), &end, 10);
    if (end == text.c_str() || *end != '\n') {
        return false;
    }
    total = value;
    return true;
}

}  // namespace

SizeLedger::SizeLedger(const EntryFolder& folder) : folder_(folder), file_(folder.ledgerPath()) {}

SizeLedger::Change::Change(SizeLedger& ledger) : ledger_(ledger), guard_(ledger.file_) {
    if (guard_.locked() && !parseTotal(ledger_.file_.read(), total_)) {
        total_ = EntryFolder::totalSize(ledger_.folder_.entriesByAge());
    }
}

SizeLedger::Change::~Change() {
    if (guard_.locked()) {
        ledger_.file_.replace(std::to_string(total_) + "\n");
    }
}

}  // namespace cache
