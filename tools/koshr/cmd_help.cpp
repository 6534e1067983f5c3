/*
 * cmd_help.cpp: `koshr help`, the usage texts of the tool and its commands,
 * and the two documents generated from them at build time: the man page
 * (--man) and the bash completion (--bash-completion). Both read only the
 * registered commands, so a new command appears in them without edits.
 */
#include <koshr/host.h>

#include <cctype>
#include <cstdio>
#include <string>

#include "command.h"

namespace koshr_tool {
namespace {

const char kUsage[] =
    "usage: koshr help [COMMAND [SUBCOMMAND]]\n"
    "       koshr help --man | --bash-completion\n"
    "\n"
    "Prints the usage of the tool, or of one command.\n"
    "\n"
    "  --man              the manual page koshr(1), in roff\n"
    "  --bash-completion  a bash completion script for koshr\n";

// Text made safe for roff: backslashes and hyphens escaped, no line starting
// with a control character.
std::string roff(const std::string& text) {
  std::string out;
  bool line_start = true;
  for (char c : text) {
    if (line_start && (c == '.' || c == '\'')) out += "\\&";
    if (c == '\\') {
      out += "\\e";
    } else if (c == '-') {
      out += "\\-";
    } else {
      out += c;
    }
    line_start = c == '\n';
  }
  return out;
}

std::string man_page() {
  std::string page = ".TH KOSHR 1 \"\" \"koshr " + std::string(koshr_version()) +
                     "\" \"User Commands\"\n"
                     ".SH NAME\n"
                     "koshr \\- the KOSHR support library's main jobs from the command line\n"
                     ".SH SYNOPSIS\n"
                     ".B koshr\n.I command\n[\\fIarguments\\fR]\n.br\n"
                     ".B koshr help\n[\\fIcommand\\fR]\n.br\n"
                     ".B koshr \\-\\-version\n"
                     ".SH DESCRIPTION\n"
                     "Each command below does one of the library's jobs: memory pools, library "
                     "files, display formats, save-as exports, the database interface. Options "
                     "may come anywhere among the arguments; \\fB\\-\\-\\fR ends them, so that "
                     "an argument starting with \\- is taken as it is. An option's value follows "
                     "it as the next argument or after '='.\n"
                     ".SH COMMANDS\n";
  for (const Command* command : sorted_commands()) {
    page += ".SS \"koshr " + std::string(command->name) + "\"\n";
    std::string summary = command->summary;
    if (!summary.empty()) summary[0] = char(std::toupper(static_cast<unsigned char>(summary[0])));
    page += roff(summary) + ".\n.PP\n.nf\n" + roff(command->usage) + ".fi\n";
  }
  page +=
      ".SH EXIT STATUS\n"
      ".TP\n.B 0\nSuccess.\n"
      ".TP\n.B 1\nFailure, reported on standard error as \\fBkoshr: \\fIwhat\\fB: \\fIwhy\\fR, "
      "the reason being the system's wherever there is one.\n"
      ".TP\n.B 2\nMisuse: an unknown command, subcommand or option, a missing or extra "
      "argument. Standard error names the problem in one line, then shows the usage.\n"
      ".SH ENVIRONMENT\n"
      ".TP\n.B KOSHR_PROFILE\nThe profile file of regional settings (default "
      "\\fI$XDG_CONFIG_HOME/korvane/win.ini\\fR).\n"
      ".TP\n.B KOSHR_REGISTRY\nThe settings file standing for the registry (default "
      "\\fIregistry.ini\\fR beside the profile).\n"
      ".TP\n.B KO_HEAP_PAGE_KB, KO_HEAP_CACHE_MB, KO_HEAP_MAX_BLOCK_MB, KO_HEAP_LIMIT_MB, "
      "KO_HEAP_THREAD_CACHE\nThe block heap's settings, read once at its first use.\n"
      ".SH SEE ALSO\n"
      "The README and docs/ARCHITECTURE.md in the source tree.\n";
  return page;
}

std::string words_of(const std::vector<OptionSyntax>& options) {
  std::string words;
  for (const OptionSyntax& option : options) words += std::string(" ") + option.name;
  return words;
}

int run_help(const Arguments& args);

std::string bash_completion() {
  std::string commands, value_options, cases;
  for (const Command* command : sorted_commands()) commands += std::string(" ") + command->name;
  for (const Command* command : sorted_commands()) {
    const Syntax& syntax = command->syntax;
    std::vector<const std::vector<OptionSyntax>*> lists{&syntax.options};
    for (const SubcommandSyntax& sub : syntax.subcommands) lists.push_back(&sub.options);
    for (const auto* list : lists) {
      for (const OptionSyntax& option : *list) {
        if (option.value != nullptr) value_options += std::string(" ") + option.name;
      }
    }
    std::string own = words_of(syntax.options) + " --help";
    cases += "    " + std::string(command->name) + ")\n      case $sub in\n";
    if (syntax.subcommands.empty()) {
      // `koshr help` takes command names, the others files.
      std::string operands = command->run == &run_help ? commands : "";
      cases += "        *) options=\"" + own + "\"; operands=\"" + operands + "\" ;;\n";
    } else {
      std::string names;
      for (const SubcommandSyntax& sub : syntax.subcommands) {
        names += std::string(" ") + sub.name;
        cases += "        " + std::string(sub.name) + ") options=\"" + own + words_of(sub.options) +
                 "\" ;;\n";
      }
      cases += "        \"\") options=\"" + own + "\"; operands=\"" + names + "\" ;;\n";
    }
    cases += "      esac ;;\n";
  }
  return "# bash completion for koshr, generated by 'koshr help --bash-completion'.\n"
         "_koshr() {\n"
         "  local cur=${COMP_WORDS[COMP_CWORD]} prev=${COMP_WORDS[COMP_CWORD-1]}\n"
         "  local value_options=\" " +
         value_options +
         " \"\n"
         "  local command=\"\" sub=\"\" options=\"\" operands=\"\" i word\n"
         "  for ((i = 1; i < COMP_CWORD; i++)); do\n"
         "    word=${COMP_WORDS[i]}\n"
         "    [[ $word == -* || $value_options == *\" ${COMP_WORDS[i-1]} \"* ]] && continue\n"
         "    if [[ -z $command ]]; then command=$word\n"
         "    elif [[ -z $sub ]]; then sub=$word\n"
         "    fi\n"
         "  done\n"
         "  if [[ $value_options == *\" $prev \"* ]]; then\n"
         "    COMPREPLY=($(compgen -f -- \"$cur\"))\n"
         "    return\n"
         "  fi\n"
         "  case $command in\n"
         "    \"\") options=\"--help --version\"; operands=\"" +
         commands + "\" ;;\n" + cases +
         "  esac\n"
         "  if [[ $cur == -* ]]; then\n"
         "    COMPREPLY=($(compgen -W \"$options\" -- \"$cur\"))\n"
         "  elif [[ -n $operands ]]; then\n"
         "    COMPREPLY=($(compgen -W \"$operands\" -- \"$cur\"))\n"
         "  else\n"
         "    COMPREPLY=($(compgen -f -- \"$cur\"))\n"
         "  fi\n"
         "}\n"
         "complete -o filenames -F _koshr koshr\n";
}

int run_help(const Arguments& args) {
  bool man = args.has("--man"), completion = args.has("--bash-completion");
  if (man || completion) {
    if (man && completion)
      return usage_error(args, "--man and --bash-completion exclude each other");
    if (int status = check_operands(args, 0, 0, "")) return status;
    std::fputs((man ? man_page() : bash_completion()).c_str(), stdout);
    return 0;
  }
  if (args.operands.empty()) {
    std::fputs(tool_usage().c_str(), stdout);
    return 0;
  }
  const Command* command = find_command(args.operands[0]);
  if (command == nullptr) return usage_error(args, "unknown command " + args.operands[0]);
  if (int status = check_operands(args, 1, command->syntax.subcommands.empty() ? 1 : 2, "")) {
    return status;
  }
  if (args.operands.size() == 2) {
    bool known = false;
    for (const SubcommandSyntax& sub : command->syntax.subcommands)
      known |= args.operands[1] == sub.name;
    if (!known)
      return usage_error(args, "unknown subcommand '" + args.operands[1] + "' of " + command->name);
  }
  std::fputs(command->usage, stdout);
  return 0;
}

const Command kHelp{"help",
                    "the usage of the tool or of one command",
                    kUsage,
                    &run_help,
                    {{{"--man", nullptr}, {"--bash-completion", nullptr}}, {}}};
KOSHR_COMMAND(kHelp);

}  // namespace
}  // namespace koshr_tool
