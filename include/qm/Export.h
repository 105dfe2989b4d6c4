// The library's files are built with hidden symbols; QM_API marks what a host links
// against. Visibility is the same attribute for the side that exports a name and the
// side that imports it, so one mark serves both.
#pragma once

#define QM_API __attribute__((visibility("default")))
