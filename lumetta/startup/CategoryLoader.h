#pragma once

namespace lumetta {

// Runs every category's load step once, in the order the host's classes are
// extended: each creates its side tables, then installs its replacements. Called
// from the bundle's entry point before the host touches any class it extends.
void loadCategories();

} // namespace lumetta
