# An earlier result and two backups with a gap at _2.
printf 'previous result\n' > gap.cfg
printf 'backup one\n' > gap.cfg_1
printf 'backup three\n' > gap.cfg_3
