#ifndef QUIRE_EXPORT_H_
#define QUIRE_EXPORT_H_

/// Marks what the shared library shows; everything else stays hidden in it.
#define QUIRE_EXPORT __attribute__((visibility("default")))

#endif  // QUIRE_EXPORT_H_
