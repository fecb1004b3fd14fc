// Nothing of its own: it gives the precompiled headers of the tests a library to be made for.
