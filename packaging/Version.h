#ifndef STALLSCOPE_PACKAGING_VERSION_H
#define STALLSCOPE_PACKAGING_VERSION_H

// What programs print with --version, what the packages are called and what the daemon's note says.
// The newest release in CHANGELOG.md is held to be the same by scripts/check-version.
#define STALLSCOPE_VERSION "1.0.0"

#endif  // STALLSCOPE_PACKAGING_VERSION_H
