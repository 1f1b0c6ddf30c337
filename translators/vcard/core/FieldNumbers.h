// The numbers of the contact fields, by the names of _FieldTypes, whose header the cards do not use. plugin/FieldNumbers.cpp compares them.
#pragma once
#include <cstdint>

namespace mb::vcard::ft {

inline constexpr std::uint8_t NamePrefix = 1, FirstName = 2, MiddleName = 3, LastName = 4, NameSuffix = 5, Title = 6, Company = 7,
                              Street1 = 8, City1 = 9, State1 = 10, ZipCode1 = 11, Country1 = 12, Street2 = 13, City2 = 14, State2 = 15,
                              ZipCode2 = 16, Country2 = 17, Notes = 18, Categories = 19, Phone = 20, Fax = 21, HomePhone = 22,
                              DirectPhone = 23, Mobile = 24, MainPhone = 25, OtherFax = 26, Pager = 27, OtherPhone = 28, Email1 = 29,
                              Email2 = 30, Email3 = 31, Email4 = 32, Email5 = 33, Email6 = 34, Email7 = 35, WebPage = 36, Custom1 = 37,
                              Custom2 = 38, Custom3 = 39, Image1 = 40, Image2 = 41, RecordStatus = 42, Birthday = 43, RemindBirthDay = 44,
                              RemindDays = 45, IMAIM = 46, IMMSN = 47, IMYahoo = 48, IMICQ = 49, IM = 50, Street3 = 51, City3 = 52,
                              State3 = 53, ZipCode3 = 54, Country3 = 55, Custom4 = 56, Custom5 = 57, Custom6 = 58, Custom7 = 59,
                              Custom8 = 60, Custom9 = 61, PrivateStatus = 62, HomeFax = 63, PhoneTelex = 64, PhoneSales = 65,
                              ReferredBy = 66, SpouseName = 67, Department = 68, Custom10 = 69, Office = 70, Profession = 71, Manager = 72,
                              Assistant = 73, NickName = 74, Account = 75, Gender = 76, Hobby = 77, WebPage2 = 78, DisplayName = 79,
                              Phone3 = 80, PhoneFax3 = 81, PhoneAssistant = 82, PhoneCompany = 83, PhoneCar = 84, PhoneCallback = 85,
                              PhoneTDD = 86, PhoneRadio = 87, PhoneISDN = 88, MiscPhone1 = 89, MiscPhone2 = 90, MiscPhone3 = 91, Other = 92;
inline constexpr std::uint16_t Kind = 1001;

} // namespace mb::vcard::ft
