// A library without any export.
