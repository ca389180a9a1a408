// Script commands that ask the user: the alert, the yes-or-no question, the list, and the
// text and number requests. Without a display they answer as the boxes of last resort do:
// the alert goes to standard error and every question takes its cautious answer.
#include "script/command_families.h"
#include "script/command_host.h"
#include "ui/requests.h"

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace nemu {

constexpr size_t PieceSize = 4096, LabelSize = 256, ListLimit = 256, StringFieldSize = 40;

static std::vector<std::string> SplitBars(const std::string& text) {
    std::vector<std::string> out;
    size_t start = 0;
    for (;;) {
        size_t bar = text.find('|', start);
        out.push_back(text.substr(start, bar == std::string::npos ? std::string::npos : bar - start));
        if (bar == std::string::npos) break;
        start = bar + 1;
    }
    return out;
}

static std::string Message(const char* args) {
    std::vector<char> text(MessageSize);
    size_t n = ReadMessageText(args, text.data(), text.size());
    return std::string(text.data(), n);
}

// om_warn text
static void Warn(CommandRequest*, const char* args) {
    Alert(Message(args).c_str());
}

// om_request text|yes|no
static void Request(CommandRequest* request, const char* args) {
    std::vector<std::string> parts = SplitBars(Message(args));
    parts.resize(std::max<size_t>(parts.size(), 3));
    if (parts[0].size() > PieceSize - 1) parts[0].resize(PieceSize - 1);
    for (size_t i = 1; i < 3; i++)
        if (parts[i].size() > LabelSize - 1) parts[i].resize(LabelSize - 1);
    ReplyFormat(request, "%d", AskYesNo(parts[0].c_str(), parts[1].c_str(), parts[2].c_str()));
}

// om_listrequest a|b|c: "index text", or "-1 Cancel"
static void ListRequest(CommandRequest* request, const char* args) {
    std::vector<std::string> parts = SplitBars(Message(args));
    if (parts.size() > ListLimit) parts.resize(ListLimit);
    std::vector<PopupItem> items(parts.size() + 1, PopupItem{});
    for (size_t i = 0; i < parts.size(); i++) {
        items[i].Text = parts[i].c_str();
        items[i].Id = int32_t(i);
    }
    PopupItem* picked = PopupMenu(items.data(), 0);
    if (picked)
        ReplyFormat(request, "%d %s", picked->Id, picked->Text);
    else
        ReplyAppend(request, "-1 Cancel");
}

// om_reqstring title: the text typed, or "Cancel"
static void ReqString(CommandRequest* request, const char* args) {
    char field[StringFieldSize + 1] = "";
    if (AskString(Message(args).c_str(), field, sizeof field) == 0)
        ReplyAppend(request, field);
    else
        ReplyAppend(request, "Cancel");
}

// om_reqnum default min max title
static void ReqNum(CommandRequest* request, const char* args) {
    const char* rest = ReadArgs(args, 3);
    int32_t value = ArgInt[0], min = ArgInt[1], max = ArgInt[2];
    if (min > max) std::swap(min, max);
    if (AskNumber(Message(rest).c_str(), &value, min, max) == 0)
        ReplyFormat(request, "%d", value);
    else
        ReplyAppend(request, "Cancel");
}

const ScriptCommand RequestCommands[] = {
    {"om_warn", Warn},           {"om_request", Request}, {"om_listrequest", ListRequest},
    {"om_reqstring", ReqString}, {"om_reqnum", ReqNum},   {nullptr, nullptr},
};

} // namespace nemu
