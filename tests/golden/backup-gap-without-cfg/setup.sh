# Two backups with a gap at _2 and no current result.
printf 'backup one\n' > gap.cfg_1
printf 'backup three\n' > gap.cfg_3
