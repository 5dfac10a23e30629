// A library without exports.
