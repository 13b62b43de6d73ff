#pragma once

/// Settings kept in INI files: every class of the family.
