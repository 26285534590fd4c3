// The languages the interface speaks. The command line and the engine's messages are German only.
#pragma once

namespace tramix {

enum class Language { german, english };

} // namespace tramix
