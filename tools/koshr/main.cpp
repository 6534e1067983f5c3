/*
 * main.cpp: the koshr command-line tool's entry point; everything it does is
 * in the dispatcher (command.cpp) and the commands that register with it.
 */
#include <string>
#include <vector>

#include "command.h"

int main(int argc, char** argv) {
  return koshr_tool::run_command_line(std::vector<std::string>(argv + 1, argv + argc));
}
