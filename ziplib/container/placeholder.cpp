// Takes the place of the sources to come.
