#include <algorithm>

#include "cli/commands.h"
#include "manual/documents.h"
#include "manual/options.h"

namespace ordvane::manual {
namespace {

// A text as it is meant: no character of it is an instruction to the formatter.
std::string plain(const std::string& text) {
  std::string escaped;
  for (const char letter : text) {
    if (letter == '\\')
      escaped += "\\e";
    else if (letter == '-')
      escaped += "\\-";
    else if (letter == '\'')
      escaped += "\\(aq";
    else if (letter == '`')
      escaped += "\\(ga";
    else
      escaped += letter;
  }
  return escaped.starts_with('.') ? "\\&" + escaped : escaped;
}

// In lines of the usual length, which the formatter joins.
std::string filled(const std::string& text) {
  constexpr std::size_t kWidth = 70;
  std::string lines;
  for (std::size_t at = 0; at < text.size();) {
    std::size_t end = text.size() - at > kWidth ? text.rfind(' ', at + kWidth) : text.size();
    if (end <= at || end == std::string::npos) end = std::min(text.find(' ', at + kWidth), text.size());
    lines += plain(text.substr(at, end - at)) + "\n";
    at = end + 1;
  }
  return lines;
}

std::string bold(const std::string& text) {
  return "\\fB" + plain(text) + "\\fR";
}

std::string italic(const std::string& text) {
  return "\\fI" + plain(text) + "\\fR";
}

std::string upper(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(), [](char letter) {
    return letter >= 'a' && letter <= 'z' ? char(letter - 'a' + 'A') : letter;
  });
  return text;
}

std::string item(const std::string& term, const std::string& says) {
  return ".TP\n" + term + "\n" + filled(says);
}

std::string option_item(const CLI::Option& option) {
  std::string term;
  for (const std::string& name : names_of(option)) term += (term.empty() ? "" : ", ") + bold(name);
  if (const std::string value = value_of(option); !value.empty()) term += " " + italic(value);
  return item(term, option.get_description());
}

std::string options_section(const CLI::App& command) {
  std::string text = ".SH OPTIONS\n";
  for (const OptionGroup& group : option_groups(command)) {
    if (group.heading != "Options") text += ".SS " + plain(group.heading) + "\n";
    for (const CLI::Option* option : group.options) text += option_item(*option);
  }
  return text;
}

std::string paragraph(const cli::HelpPart& part) {
  std::string text;
  for (const cli::HelpPart::Line& line : part.lines) text += (text.empty() ? "" : " ") + line.term;
  return ".PP\n" + filled(text);
}

std::string section(const cli::HelpPart& part) {
  const bool is_list = std::any_of(part.lines.begin(), part.lines.end(),
                                   [](const cli::HelpPart::Line& line) { return !line.says.empty(); });
  std::string text = ".SH " + plain(upper(part.heading)) + "\n" + (is_list ? "" : ".nf\n");
  for (const cli::HelpPart::Line& line : part.lines)
    text += is_list ? item(bold(line.term), line.says) : plain(line.term) + "\n";
  return text + (is_list ? "" : ".fi\n");
}

std::string description(const CLI::App& command, const cli::HelpParts& parts) {
  const std::string& what = command.get_description();
  std::string text = ".SH DESCRIPTION\n" + filled(what.ends_with('.') ? what : what + ".");
  if (const CLI::Option* const operand = positional_of(command))
    text += item(italic(operand->get_name()), operand->get_description());
  for (const cli::HelpPart& part : parts)
    if (part.heading.empty()) text += paragraph(part);
  return text;
}

std::string commands_section(const cli::Arguments& arguments) {
  std::string text = ".SH COMMANDS\n";
  for (const CLI::App* command : arguments.commands())
    text += item(bold(command->get_name()), command->get_description());
  return text;
}

// Where else to read: the commands in the page of the program, and the program in theirs.
std::string see_also(const cli::Arguments& arguments, const CLI::App& command) {
  std::string text;
  if (&command != &arguments.parser()) return ".BR " + arguments.parser().get_name() + " (1)";
  for (const CLI::App* each : arguments.commands())
    if (!arguments.help_of(*each).empty())
      text += (text.empty() ? ".BR " : " ,\n.BR ") + plain(page_name(arguments, *each)) + " (1)";
  return text;
}

}  // namespace

std::string page_name(const cli::Arguments& arguments, const CLI::App& command) {
  const std::string program = arguments.parser().get_name();
  return &command == &arguments.parser() ? program : program + "-" + command.get_name();
}

std::string manual_page(const cli::Arguments& arguments, const CLI::App& command, const std::string& date) {
  const std::string program = arguments.parser().get_name();
  const bool is_program = &command == &arguments.parser();
  const std::string name = page_name(arguments, command);
  const cli::HelpParts& parts = arguments.help_of(command);
  std::string what = command.get_description();
  if (what.ends_with('.')) what.pop_back();

  std::string text = ".\\\" Made from the definitions of the options.\n.TH " + upper(plain(name)) + " 1 " +
                     date + " \"" + program + " " + cli::kVersion + "\" \"Ordvane Results\"\n";
  text += ".SH NAME\n" + plain(name) + " \\-\n" + filled(what) + ".SH SYNOPSIS\n" + bold(program);
  text += (is_program ? "" : " " + bold(command.get_name())) + " [" + italic("OPTIONS") + "]";
  if (is_program) text += " [" + italic("COMMAND") + "]";
  if (const CLI::Option* const operand = positional_of(command)) text += " " + italic(operand->get_name());
  text += "\n" + description(command, parts);
  if (is_program) text += commands_section(arguments);
  text += options_section(command);
  for (const cli::HelpPart& part : parts)
    if (!part.heading.empty()) text += section(part);
  return text + ".SH SEE ALSO\n" + see_also(arguments, command) + "\n";
}

}  // namespace ordvane::manual
