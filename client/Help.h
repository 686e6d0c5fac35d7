#ifndef STALLSCOPE_CLIENT_HELP_H
#define STALLSCOPE_CLIENT_HELP_H

#include <string>

#include "client/Commands.h"

namespace android {

std::string overallHelp();
std::string commandHelp(const Command& command);

}  // namespace android

#endif  // STALLSCOPE_CLIENT_HELP_H
