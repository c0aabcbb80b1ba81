# bash completion for orvanectl
