#include <cimhost/MofError.h>

namespace cimhost {

MofError::MofError(const std::string& file, unsigned line, const std::string& message)
    : std::runtime_error(file + ":" + std::to_string(line) + ": " + message),
      _file(file), _line(line), _message(message)
{
}

} // namespace cimhost
