# ZQSP_BUILD_DATE: today, or the day of SOURCE_DATE_EPOCH, as "Jul 30 2015" whatever the locale.
string(TIMESTAMP build_day "%m;%d;%Y" UTC)
list(GET build_day 0 month)
list(GET build_day 1 day)
list(GET build_day 2 year)
math(EXPR month_index "${month} - 1")
math(EXPR day "${day}") # no leading zero
set(months Jan Feb Mar Apr May Jun Jul Aug Sep Oct Nov Dec)
list(GET months ${month_index} month_name)
set(ZQSP_BUILD_DATE "${month_name} ${day} ${year}")
