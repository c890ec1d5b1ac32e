#include "cycle/ServerRows.h"

#include "core/ErrorHandler.h"

namespace corva {

namespace {
constexpr const char* Module = "ServerRows";
} // namespace

void ServerRows::keepVerdict(Row& row, const clsMessage& msg) {
    row.Subject = msg.Subject;
    row.From = msg.From;
    row.To = msg.To_Email;
    row.FilterReason = msg.FilterReason;
    row.DestFolder = msg.DestFolder;
    row.ReceiveDate = msg.ReceiveDate;
    row.Bayes = msg.Bayes;
    row.Size = msg.Size;
    row.MessageNumThisAcc = msg.MessageNumThisAcc;
    row.Colour = msg.Colour;
    row.FromAccount = msg.FromAccount;
    row.Deleted = msg.Deleted;
    row.Ignored = msg.Ignored;
    row.Suspicious = msg.Suspicious;
    row.BlockedSender = msg.BlockedSender;
    row.BlockedRecip = msg.BlockedRecip;
    row.Read = msg.Read;
}

void ServerRows::Add(const clsMessage& msg) {
    guarded("Add", Module, [&] {
        Row row;
        row.text = msg.Messagetext.empty() ? msg.RawMessage() : msg.Messagetext;
        keepVerdict(row, msg);
        rows_.push_back(std::move(row));
    });
}

void ServerRows::Clear() {
    rows_.clear();
    rows_.shrink_to_fit();
    handedOut_.clear();
}

ServerRows::Ptr ServerRows::build(const Row& row) const {
    auto msg = std::make_shared<clsMessage>();
    msg->CreateFromText(row.text, true);
    msg->Subject = row.Subject;
    msg->From = row.From;
    msg->To_Email = row.To;
    msg->FilterReason = row.FilterReason;
    msg->DestFolder = row.DestFolder;
    msg->ReceiveDate = row.ReceiveDate;
    msg->Bayes = row.Bayes;
    msg->Size = row.Size;
    msg->MessageNumThisAcc = row.MessageNumThisAcc;
    msg->Colour = row.Colour;
    msg->FromAccount = row.FromAccount;
    msg->Deleted = row.Deleted;
    msg->Ignored = row.Ignored;
    msg->Suspicious = row.Suspicious;
    msg->BlockedSender = row.BlockedSender;
    msg->BlockedRecip = row.BlockedRecip;
    msg->Read = row.Read;
    return msg;
}

ServerRows::Ptr ServerRows::Peek(long index) const {
    if (index < 1 || index > Count()) return nullptr;
    if (auto kept = handedOut_.find(index); kept != handedOut_.end()) return kept->second;
    return guardedValue("Item", Module, Ptr(),
                        [&] { return build(rows_[static_cast<size_t>(index - 1)]); });
}

ServerRows::Ptr ServerRows::Item(long index) const {
    Ptr msg = Peek(index);
    if (msg) handedOut_[index] = msg;
    return msg;
}

void ServerRows::Update(long index, const clsMessage& msg) {
    if (index < 1 || index > Count()) return;
    guarded("Update", Module, [&] { keepVerdict(rows_[static_cast<size_t>(index - 1)], msg); });
}

} // namespace corva
