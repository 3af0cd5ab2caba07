-- SPDX-License-Identifier: GPL-3.0-or-later
--
-- Quillbrook's handlers for Capture One 11 (com.phaseone.captureone11).
-- Quillbrook calls each handler by its name, so the names are fixed,
-- "variatsIn" included. Every handler works on the frontmost document.
-- Folders for captures live in the session's "Capture" folder, beside the
-- session file.

on currentDocument()
	tell application id "com.phaseone.captureone11"
		return name of current document as text
	end tell
end currentDocument

on favoritesList()
	set theNames to {}
	repeat with theItem in my allCollections()
		set theCollection to contents of theItem
		tell application id "com.phaseone.captureone11"
			if kind of theCollection is favorite then set end of theNames to ((name of theCollection) as text)
		end tell
	end repeat
	return theNames
end favoritesList

-- name, kind code, folder (or missing value), rules (or missing value), number of variants
on collectionInfo(theName)
	set theCollection to my collectionNamed(theName)
	tell application id "com.phaseone.captureone11"
		set theKind to kind of theCollection
		set theFolder to missing value
		if theKind is favorite or theKind is catalog folder then
			try
				set theFolder to file of theCollection
			end try
		end if
		set theRules to missing value
		if theKind is smart album then
			try
				set theRules to (rules of theCollection) as text
			end try
		end if
		set theCount to count of variants of theCollection
		set theCollectionName to (name of theCollection) as text
	end tell
	return {theCollectionName, my kindCode(theKind), theFolder, theRules, theCount}
end collectionInfo

on variatsIn(theName)
	set theCollection to my collectionNamed(theName)
	set theNames to {}
	tell application id "com.phaseone.captureone11"
		repeat with theVariant in (every variant of theCollection)
			set end of theNames to ((name of theVariant) as text)
		end repeat
	end tell
	return theNames
end variatsIn

on setCapture(folderName)
	set thePath to my makeCaptureFolder(folderName)
	tell application id "com.phaseone.captureone11"
		set captures of current document to (POSIX file thePath as alias)
	end tell
	return thePath
end setCapture

on getCapture()
	tell application id "com.phaseone.captureone11"
		set theFolder to captures of current document
	end tell
	return POSIX path of (theFolder as alias)
end getCapture

on makeDirsAndFaves(dirNames, shouldSetCapture)
	set madeFavorites to 0
	set firstPath to missing value
	repeat with folderName in dirNames
		set thePath to my makeCaptureFolder(folderName as text)
		if firstPath is missing value then set firstPath to thePath
		if not my hasFavoriteAt(thePath) then
			tell application id "com.phaseone.captureone11"
				tell current document
					make new collection with properties {kind:favorite, file:(POSIX file thePath as alias)}
				end tell
			end tell
			set madeFavorites to madeFavorites + 1
		end if
	end repeat
	if shouldSetCapture and firstPath is not missing value then
		tell application id "com.phaseone.captureone11"
			set captures of current document to (POSIX file firstPath as alias)
		end tell
	end if
	return "Made " & (count of dirNames) & " folders and " & madeFavorites & " favorites"
end makeDirsAndFaves

on getCaptureName()
	tell application id "com.phaseone.captureone11"
		tell current document
			return {(capture name format) as text, (capture name) as text}
		end tell
	end tell
end getCaptureName

on setCaptureName(theFormat, theName)
	tell application id "com.phaseone.captureone11"
		tell current document
			if theFormat is not missing value then set capture name format to theFormat
			if theName is not missing value then set capture name to theName
		end tell
	end tell
	return my getCaptureName()
end setCaptureName

-- Helpers; Quillbrook does not call these.

on allCollections()
	tell application id "com.phaseone.captureone11"
		set theTop to every collection of current document
	end tell
	set theResult to {}
	repeat with theCollection in theTop
		my addCollection(contents of theCollection, theResult)
	end repeat
	return theResult
end allCollections

-- Lists are passed by reference, so the collections gather in theResult.
on addCollection(theCollection, theResult)
	set end of theResult to theCollection
	tell application id "com.phaseone.captureone11"
		set theChildren to every collection of theCollection
	end tell
	repeat with theChild in theChildren
		my addCollection(contents of theChild, theResult)
	end repeat
end addCollection

on collectionNamed(theName)
	repeat with theItem in my allCollections()
		set theCollection to contents of theItem
		tell application id "com.phaseone.captureone11"
			if ((name of theCollection) as text) is theName then return theCollection
		end tell
	end repeat
	error "There is no collection named \"" & theName & "\" in the current document." number -1728
end collectionNamed

on kindCode(theKind)
	tell application id "com.phaseone.captureone11"
		if theKind is album then return "CCal"
		if theKind is catalog folder then return "CCff"
		if theKind is favorite then return "CCfv"
		if theKind is group then return "CCgp"
		if theKind is project then return "CCpj"
		if theKind is smart album then return "CCsm"
	end tell
	return theKind as text
end kindCode

on captureRoot()
	tell application id "com.phaseone.captureone11"
		set theFile to file of current document
	end tell
	set documentPath to POSIX path of (theFile as alias)
	set sessionFolder to do shell script "dirname " & quoted form of documentPath
	return sessionFolder & "/Capture"
end captureRoot

-- The folder's POSIX path; made with its parents when missing.
on makeCaptureFolder(folderName)
	set thePath to my captureRoot() & "/" & folderName
	do shell script "mkdir -p " & quoted form of thePath
	return thePath
end makeCaptureFolder

on hasFavoriteAt(thePath)
	repeat with theItem in my allCollections()
		set theCollection to contents of theItem
		tell application id "com.phaseone.captureone11"
			if kind of theCollection is favorite then
				try
					if POSIX path of ((file of theCollection) as alias) is (thePath & "/") then return true
				end try
			end if
		end tell
	end repeat
	return false
end hasFavoriteAt
