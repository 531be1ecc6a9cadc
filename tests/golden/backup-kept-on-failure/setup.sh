# A result of an earlier run that a failed compile must leave in place.
printf 'previous result\n' > keep.cfg
