#ifndef STALLSCOPE_CLIENT_COMMANDS_H
#define STALLSCOPE_CLIENT_COMMANDS_H

#include <string>
#include <vector>

#include "client/Arguments.h"
#include "client/Files.h"
#include "client/Output.h"
#include "client/Service.h"

namespace android {

// One request: what to ask whom, what FILE was like before, and where the answer goes.
struct Request {
    sp<IStallscope> service;
    const Arguments& arguments;
    FileState before;
    Report* report;
};

struct Command {
    const char* name;
    Syntax syntax;
    FileUse fileUse;
    const char* sentence;
    std::string details;
    Result (*run)(const Request& request);
};

const std::vector<Command>& commands();
const Command* findCommand(const std::string& name);

// The options of all commands, each once.
std::vector<const Option*> allOptions();

// Makes FILE absolute, and unless --force was given checks FILE and every pid.
Result checkArguments(const Command& command, Arguments* arguments);

// The command, and what every answer is about, as members of the JSON object.
void reportQuestion(const Command& command, const Arguments& arguments, Report* report);

// "1234 (com.example.app)"
std::string describeProcess(int32_t pid);

// What a call that did not get through means.
Result callFailed(const binder::Status& status);

Result askTransaction(const Request& request);
Result askAsync(const Request& request);
Result askIncoming(const Request& request);
Result askPrint(const Request& request);
Result askCheck(const Request& request);
Result askChain(const Request& request);

Result askFds(const Request& request);
Result askListFds(const Request& request);
Result askDump(const Request& request);
Result askDumpList(const Request& request);
Result askDumpBinder(const Request& request);

// Waits until FILE, which the daemon writes in the background, stops growing.
Result followFile(const Request& request);

}  // namespace android

#endif  // STALLSCOPE_CLIENT_COMMANDS_H
