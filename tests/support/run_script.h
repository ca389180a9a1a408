// Runs a command text through the command host and returns its reply.
#pragma once
#include "script/command_host.h"

#include <memory>
#include <string>

inline std::string RunScript(const std::string& text, uint32_t* known = nullptr) {
    auto request = std::make_unique<nemu::CommandRequest>();
    request->Text = text.c_str();
    nemu::RunCommandText(request.get());
    if (known) *known = request->Known;
    return request->Reply;
}
