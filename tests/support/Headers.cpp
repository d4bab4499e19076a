// Nothing of its own: the program whose precompiled headers all other test programs share, and with
// which it is compiled alike.
