# The library as programs link it.
